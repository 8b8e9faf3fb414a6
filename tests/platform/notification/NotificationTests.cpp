#include "wickerlane/platform/notification/Notification.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/support/Descriptors.h"
#include "tests/support/Fork.h"
#include "tests/support/Peer.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

constexpr auto generous = 60s;

class Notifications : public ::testing::Test {
protected:
    void SetUp() override { test::allowLastingDescriptors(test::folderWatchDescriptors); }
    const std::string folder = pathUnderRoot("/var/run/wickerlane/notify");
};

} // namespace

TEST(DISABLED_NotificationPeer, Posts) {
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(postNotification("from a peer"));
}

TEST_F(Notifications, ReachThisAndOtherProcesses) {
    const auto mine = Semaphore::create(0), theirs = Semaphore::create(0);
    std::atomic<int> wrong = 0;
    const NotificationToken first =
        registerNotification("mine", WorkQueue::global(), [&](NotificationToken token) {
            wrong += token != first ? 1 : 0;
            mine->signal();
        });
    const NotificationToken second = registerNotification("from a peer", WorkQueue::global(),
                                                          [&](NotificationToken) { theirs->signal(); });
    ASSERT_NE(first, 0);
    ASSERT_NE(second, 0);
    ASSERT_NE(first, second);
    for (int i = 0; i < 3; ++i) { // each post after a call has begun brings another
        ASSERT_TRUE(postNotification("mine"));
        ASSERT_TRUE(mine->wait(generous)) << i;
    }
    EXPECT_FALSE(theirs->wait(0ns));
    EXPECT_TRUE(test::Peer("DISABLED_NotificationPeer.Posts").wait());
    EXPECT_TRUE(theirs->wait(generous));
    EXPECT_EQ(wrong, 0);
    cancelNotification(first);
    cancelNotification(second);
}

// Every post changes a number first; whatever coalesces, some call must see the last number.
TEST_F(Notifications, MayCoalesceButNotGetLost) {
    auto queue = WorkQueue::create("handlers");
    constexpr int posts = 2'000;
    std::atomic<int> number = 0, calls = 0;
    const auto complete = Semaphore::create(0);
    const NotificationToken token = registerNotification("number", queue.get(), [&](NotificationToken) {
        ++calls;
        if (number == posts)
            complete->signal();
    });
    ASSERT_NE(token, 0);
    for (int i = 0; i < posts; ++i) {
        ++number;
        ASSERT_TRUE(postNotification("number"));
    }
    EXPECT_TRUE(complete->wait(generous));
    cancelNotification(token);
    queue->sync([] {});
    EXPECT_LE(calls, posts);
}

TEST_F(Notifications, BeginNoCallOnceCancelled) {
    auto queue = WorkQueue::create("handlers");
    int calls = 0; // unguarded: the queue guards it
    NotificationToken token = 0;
    const auto called = Semaphore::create(0), gate = Semaphore::create(0);
    token = registerNotification("once", queue.get(), [&](NotificationToken own) {
        ++calls;
        cancelNotification(own);
        called->signal();
    });
    const auto sentinel = Semaphore::create(0);
    const NotificationToken other =
        registerNotification("once", WorkQueue::global(), [&](NotificationToken) { sentinel->signal(); });
    ASSERT_TRUE(postNotification("once"));
    ASSERT_TRUE(called->wait(generous));
    ASSERT_TRUE(sentinel->wait(generous));
    ASSERT_TRUE(postNotification("once"));
    ASSERT_TRUE(sentinel->wait(generous)); // the other one has been called, so reports have been read
    queue->sync([&] { EXPECT_EQ(calls, 1); });

    // Cancelled while its call stands on the queue already.
    queue->async([&] { gate->wait(); });
    token = registerNotification("once", queue.get(), [&](NotificationToken) { ++calls; });
    ASSERT_TRUE(postNotification("once"));
    ASSERT_TRUE(sentinel->wait(generous));
    cancelNotification(token);
    gate->signal();
    queue->sync([&] { EXPECT_EQ(calls, 1); });
    EXPECT_TRUE(cancelNotification(other));
    for (const NotificationToken unknown : {token, 12345, 0, -1})
        EXPECT_FALSE(cancelNotification(unknown)) << unknown;
}

TEST_F(Notifications, RefuseWhatCannotBeTrusted) {
    const auto ignore = [](NotificationToken) {};
    for (const std::string &name :
         {std::string(), std::string("a/b"), std::string("."), std::string(".."), std::string(201, 'n')}) {
        EXPECT_FALSE(postNotification(name.c_str())) << name;
        EXPECT_EQ(registerNotification(name.c_str(), WorkQueue::global(), ignore), 0) << name;
    }
    EXPECT_EQ(registerNotification("n", nullptr, ignore), 0);
    EXPECT_EQ(registerNotification("n", WorkQueue::global(), nullptr), 0);
    EXPECT_TRUE(postNotification(std::string(200, 'n').c_str()));

    struct stat status {};
    ASSERT_EQ(stat(folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0700u);
    // A pipe in a name's place does not hold the poster up, nor does a link lead it elsewhere.
    ASSERT_EQ(mkfifo((folder + "/pipe").c_str(), 0600), 0);
    fs::create_symlink(pathUnderRoot("/elsewhere"), folder + "/link");
    EXPECT_FALSE(postNotification("pipe"));
    EXPECT_FALSE(postNotification("link"));
    EXPECT_FALSE(fs::exists(pathUnderRoot("/elsewhere")));
    // Nor does a folder that others may write to.
    fs::permissions(folder, fs::perms::others_write, fs::perm_options::add);
    EXPECT_FALSE(postNotification("n"));
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(registerNotification("n", WorkQueue::global(), ignore), 0);
    fs::remove_all(folder);
    fs::create_directory_symlink(pathUnderRoot("/"), folder);
    EXPECT_FALSE(postNotification("n"));
}

TEST_F(Notifications, KeepToTheirRoot) {
    const auto called = Semaphore::create(0);
    const NotificationToken token =
        registerNotification("n", WorkQueue::global(), [&](NotificationToken) { called->signal(); });
    ASSERT_NE(token, 0);
    const std::string root = rootPath();
    setenv("WICKERLANE_ROOT", (root + "/other").c_str(), 1);
    EXPECT_TRUE(postNotification("n"));
    setenv("WICKERLANE_ROOT", root.c_str(), 1);
    EXPECT_FALSE(called->wait(10ms));
    EXPECT_TRUE(postNotification("n"));
    EXPECT_TRUE(called->wait(generous));
    cancelNotification(token);
}

TEST_F(Notifications, OfTheParentGoOnWhateverAForkedChildDoes) {
    const auto posted = Semaphore::create(0);
    const NotificationToken token =
        registerNotification("kept", WorkQueue::global(), [&](NotificationToken) { posted->signal(); });
    ASSERT_NE(token, 0);
    const int outcome = test::resultOfForkedChild([&] {
        const bool isRefused = registerNotification("other", WorkQueue::global(), [](int) {}) == 0;
        return isRefused && cancelNotification(token) ? 7 : 1;
    });
    EXPECT_EQ(outcome, 7);
    ASSERT_TRUE(postNotification("kept"));
    EXPECT_TRUE(posted->wait(generous));
    EXPECT_TRUE(cancelNotification(token));
}

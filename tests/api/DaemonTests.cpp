// The entry points, and the examples that use them, with the real daemon.
#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/api/Wickerlane.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/util/count/JXGenericAssetCount.h"

using namespace wickerlane;
using namespace wickerlane::test;
using namespace std::chrono_literals;

namespace {

using Counts = std::pair<std::uint64_t, std::uint64_t>;

class Daemon : public RunningHoardd {
protected:
    static Counts counts() {
        Counts result{99, 99};
        const auto answered = Semaphore::create(0);
        RZGetPhotosAndVideosCount([&](const Number *photos, const Number *videos) {
            if (photos != nullptr && videos != nullptr)
                result = {photos->uint64Value(), videos->uint64Value()};
            answered->signal();
        });
        answered->wait();
        return result;
    }
    static bool hasPhoto() {
        bool result = false;
        const auto answered = Semaphore::create(0);
        RZHasAtLeastOnePhoto([&](bool answer) {
            result = answer;
            answered->signal();
        });
        answered->wait();
        return result;
    }

    ReleaseScope scope;
};

TEST_F(Daemon, NotifiesOfEachChangeOfTheCounts) {
    const auto changed = Semaphore::create(0);
    const Ref<Number> token =
        RZRegisterForPhotosAndVideosCount([&] { changed->signal(); }, WorkQueue::global());
    ASSERT_TRUE(token);
    EXPECT_EQ(counts(), (Counts{0, 0}));
    EXPECT_FALSE(hasPhoto());
    // The last notification comes after the last change, so that the counts are final then.
    const auto waitFor = [&](const Counts &expected) {
        do
            ASSERT_TRUE(changed->wait(60s)) << "no notification came";
        while (counts() != expected);
    };
    std::ignore = saveData(jpegOf(fourCorners(8, 8)));
    waitFor({1, 0});
    EXPECT_TRUE(hasPhoto());
    for (std::uint32_t i = 0; i < 20; ++i)
        std::ignore = saveData(jpegOf(fourCorners(9 + i, 8)));
    waitFor({21, 0});
    // A change right before the end of the daemon is notified, too.
    std::ignore = saveData(jpegOf(fourCorners(7, 7)));
    end(daemon(), SIGTERM);
    waitFor({22, 0});
    RZUnregisterForPhotosAndVideosCount(token.get());
}

// The count opens the store read-write, while only the daemon may write and checkpoint it.
TEST_F(Daemon, IsCountedCorrectlyWhileItStartsEndsAndDies) {
    constexpr std::int64_t rounds = 8, each = 2;
    std::ignore = saveData(jpegOf(fourCorners(5, 5)));
    std::atomic<bool> done = false;
    std::atomic<bool> isAscending = true;
    std::atomic<int> counted = 0;
    std::thread counting([&] {
        for (std::int64_t last = 1; !done; ++counted, counted.notify_one()) {
            const std::int64_t count = JXGenericAssetCountInDatabaseWithPath(paths.database().c_str());
            isAscending = isAscending && count >= last;
            last = count;
        }
    });
    for (std::int64_t round = 0; round < rounds; ++round) {
        for (std::int64_t i = 0; i < each; ++i)
            std::ignore = saveData(jpegOf(fourCorners(static_cast<std::uint32_t>(6 + round), 9)));
        // The daemon ends while counts are made.
        for (int i = 0; i < 2; ++i)
            counted.wait(counted);
        end(daemon(), round % 2 == 0 ? SIGKILL : SIGTERM);
        connection = connect();
    }
    done = true;
    counting.join();
    EXPECT_TRUE(isAscending);
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(paths.database().c_str()), 1 + rounds * each);
    const auto report = store::checkLibrary(paths);
    ASSERT_TRUE(report) << report.error().text;
    EXPECT_TRUE(report->findings.empty());
    EXPECT_EQ(report->assets, static_cast<std::size_t>(1 + rounds * each));
}

TEST_F(Daemon, FindsTheFilesOfPersistentURLs) {
    const MutableDictionary *saved = saveData(jpegOf(fourCorners(8, 8)));
    URL *url = URL::of(textIn(saved, "assetURL"));
    ASSERT_TRUE(WLNIsPersistentURL(url));
    const auto path = Ref<String>::adopt(WLNCreatePathForPersistentURL(url));
    ASSERT_TRUE(path);
    EXPECT_EQ(path->utf8(), URL::of(textIn(saved, "fileURL"))->fileSystemPath());

    const FileBytes edited = pngOf(fourCorners(6, 6));
    const auto edit = request(17);
    edit->setString("assetURL", textIn(saved, "assetURL"));
    edit->setData("imageData", edited.data(), edited.size());
    ASSERT_TRUE(answer(edit.get())->getBool("success"));
    const auto current = Ref<String>::adopt(WLNCreatePathForPersistentURL(url));
    ASSERT_TRUE(current);
    EXPECT_EQ(contentsOf(std::string(current->utf8())), edited) << "the adjusted file";

    for (const char *unknown : {"rez-vault://asset/asset.JPG?id=00000000-0000-4000-8000-000000000000&ext=JPG",
                                "jukelet-library://item/item.m4a?id=1", "https://example.org/"})
        EXPECT_EQ(WLNCreatePathForPersistentURL(URL::of(unknown)), nullptr) << unknown;
    EXPECT_EQ(WLNCreatePathForPersistentURL(nullptr), nullptr);
}

TEST_F(Daemon, IsSeenByProgramsInOtherLanguages) {
    std::uint32_t saved = 0;
    const char *const programs[] = {
        C_EXAMPLE,
#ifdef PYTHON_EXAMPLE
        PYTHON_EXAMPLE,
#endif
    };
    for (const std::string program : programs) {
        FILE *output = popen((program + " 2").c_str(), "re");
        ASSERT_NE(output, nullptr);
        for (int line = 0; line < 3; ++line) {
            char text[100] = "";
            ASSERT_NE(fgets(text, sizeof text, output), nullptr) << program;
            EXPECT_EQ(text, std::to_string(saved) + " photos, 0 videos\n") << program;
            if (line < 2)
                std::ignore = saveData(jpegOf(fourCorners(8 + saved++, 8)));
        }
        EXPECT_EQ(pclose(output), 0) << program;
    }
}

} // namespace

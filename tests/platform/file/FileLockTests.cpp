#include "wickerlane/platform/file/FileLock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <thread>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/queue/Semaphore.h"

using namespace wickerlane;
using namespace std::chrono_literals;

namespace {

std::string makeFile() {
    EXPECT_TRUE(makeFolders(pathUnderRoot("/")));
    const std::string path = pathUnderRoot("/lock");
    EXPECT_TRUE(openFile(path, O_RDWR | O_CREAT));
    return path;
}

} // namespace

TEST(FileLocks, AreSharedOrExclusive) {
    const std::string path = makeFile();
    const struct {
        FileLock held, wanted;
        bool succeeds;
    } cases[] = {
        {FileLock::shared, FileLock::shared, true},
        {FileLock::shared, FileLock::exclusive, false},
        {FileLock::exclusive, FileLock::shared, false},
        {FileLock::exclusive, FileLock::exclusive, false},
    };
    for (const auto &each : cases) {
        UniqueFd held = openFile(path, O_RDONLY);
        const UniqueFd wanted = openFile(path, O_RDONLY);
        ASSERT_TRUE(lockFile(held.get(), each.held));
        errno = 0;
        EXPECT_EQ(tryLockFile(wanted.get(), each.wanted), each.succeeds);
        EXPECT_EQ(errno, each.succeeds ? 0 : EWOULDBLOCK);
        held.reset();
        EXPECT_TRUE(tryLockFile(wanted.get(), each.wanted)) << "is held though its file is closed";
    }
    EXPECT_FALSE(lockFile(-1, FileLock::shared));
    EXPECT_EQ(errno, EBADF);
}

TEST(FileLocks, AreWaitedForWithTheFileMadeWhenItIsMissing) {
    EXPECT_FALSE(openLocked(pathUnderRoot("/no folder/lock")));
    ASSERT_TRUE(makeFolders(pathUnderRoot("/")));
    const std::string path = pathUnderRoot("/lock");
    UniqueFd first = openLocked(path);
    ASSERT_TRUE(first);
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    const auto locked = Semaphore::create(0);
    std::thread other([&] {
        EXPECT_TRUE(openLocked(path));
        locked->signal();
    });
    EXPECT_FALSE(locked->wait(20ms));
    first.reset();
    EXPECT_TRUE(locked->wait(60s));
    other.join();
}

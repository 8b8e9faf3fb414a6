// Who is said to hold the lock of a library.
#include "hoardd/library/LibraryLock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;

namespace {

TEST(LibraryLock, NamesItsHolderOnlyIfThatIsKnown) {
    const std::string path = rootPath() + "/lock";
    const UniqueFd held = openLocked(path);
    ASSERT_TRUE(held);
    const pid_t other = fork();
    if (other == 0)
        for (;;)
            pause();
    ASSERT_GT(other, 0);
    const pid_t dead = fork();
    if (dead == 0)
        _exit(0);
    ASSERT_GT(dead, 0);
    int status = 0;
    ASSERT_EQ(retryInterrupted([&] { return waitpid(dead, &status, 0); }), dead);
    const struct {
        const char *what;
        std::string written, holder;
    } cases[] = {
        {"one that runs", std::to_string(other) + '\n', "process " + std::to_string(other)},
        {"one that has ended", std::to_string(dead) + '\n', "another process"},
        {"this one, which had the ID before", std::to_string(getpid()) + '\n', "another process"},
        {"one of another program", "1\n", "another process"},
        {"nothing", "", "another process"},
        {"no number", "-7x\n", "another process"},
    };
    for (const auto &[what, written, holder] : cases) {
        std::ofstream(path, std::ios::trunc) << written;
        const auto taken = takeLibraryLock(path, std::chrono::milliseconds(0));
        ASSERT_FALSE(taken) << what;
        EXPECT_EQ(taken.error().kind, ProblemKind::busy) << what;
        EXPECT_EQ(taken.error().text, "the library is in use: " + holder + " holds " + path +
                                          " locked; try again when it has ended")
            << what;
    }
    kill(other, SIGKILL);
    EXPECT_EQ(retryInterrupted([&] { return waitpid(other, &status, 0); }), other);
}

} // namespace

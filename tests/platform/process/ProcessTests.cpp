#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>

#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/process/Circumstances.h"
#include "wickerlane/platform/process/LibraryLoading.h"
#include "wickerlane/platform/process/ProcessFacts.h"
#include "wickerlane/platform/process/ProcessInformation.h"
#include "wickerlane/platform/process/ProcessTable.h"

using namespace wickerlane;
namespace fs = std::filesystem;

TEST(ProcessInformation, HasTheArgumentsOfThisProcess) {
    const auto made = Ref<Object>::adopt(classNamed("ProcessInformation")->instantiate());
    const auto *information = as<ProcessInformation>(made.get());
    ASSERT_NE(information, nullptr);
    const Array *arguments = information->arguments();
    ASSERT_GE(arguments->count(), 1u);
    EXPECT_EQ(as<String>(arguments->at(0))->utf8(), program_invocation_name);
}

// Else the next file that is opened gets what is written to the console.
TEST(StandardDescriptors, AreOccupiedWhereTheyWereClosed) {
    const pid_t child = fork();
    if (child == 0) {
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            close(descriptor);
        occupyStandardDescriptors();
        const bool isAbove = open("/dev/null", O_RDWR | O_CLOEXEC) > STDERR_FILENO;
        const bool failsAsBefore = write(STDERR_FILENO, "x", 1) < 0 && errno == EBADF;
        _exit(isAbove && failsAsBefore ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(ProcessTable, HoldsThisProcessAndItsParentByAscendingIds) {
    const auto table = processTable();
    ASSERT_TRUE(table);
    for (const pid_t process : {getpid(), getppid()})
        EXPECT_EQ(std::ranges::count(*table, process, &ProcessRecord::process), 1) << process;
    EXPECT_TRUE(std::ranges::is_sorted(*table, {}, &ProcessRecord::process));
    EXPECT_TRUE(std::ranges::all_of(
        *table, [](const ProcessRecord &each) { return each.command.size() <= maxCommandNameLength; }));
}

// A copy of a program, which is deleted while it runs.
TEST(ProcessFacts, AreThoseOfTheProcess) {
    const fs::path program = fs::path(std::getenv("WICKERLANE_ROOT")) / "program";
    fs::copy_file("/bin/sleep", program);
    std::string path = program, seconds = "60";
    char *const arguments[] = {path.data(), seconds.data(), nullptr};
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, path.c_str(), nullptr, nullptr, arguments, environ), 0);
    EXPECT_EQ(executableOf(child), program);
    EXPECT_GE(startTimeOf(child), startTimeOf(getpid()));
    EXPECT_GT(startTimeOf(getpid()), 0U);
    fs::remove(program);
    EXPECT_EQ(executableOf(child), path + " (deleted)");
    EXPECT_EQ(withoutDeletedMark(executableOf(child)), path);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(executableOf(child), "");
    EXPECT_EQ(startTimeOf(child), 0U);
    EXPECT_EQ(ownExecutable(), executableOf(getpid()));
    EXPECT_EQ(withoutDeletedMark("/a (deleted)b"), "/a (deleted)b");
}

TEST(ProcessFacts, CountTheProcessorsThatMayBeUsed) {
    cpu_set_t before, one;
    ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
    EXPECT_EQ(processorCount(), static_cast<unsigned>(CPU_COUNT(&before)));
    CPU_ZERO(&one);
    int processor = 0;
    while (!CPU_ISSET(processor, &before))
        ++processor;
    CPU_SET(processor, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(processorCount(), 1U);
    sched_setaffinity(0, sizeof before, &before);
}

TEST(LibraryLoading, FailsForWhatIsNoLibraryAndLooksNowhereElse) {
    // The second is known to the loader, but does not lie beside the library.
    for (const char *path : {"", "libc.so.6", "libnone.so", "/", "/etc/passwd", "/none/libnone.so"})
        EXPECT_FALSE(loadLibrary(path)) << path;
}

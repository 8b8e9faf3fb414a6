#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/process/LibraryLoading.h"
#include "wickerlane/platform/process/ProcessInformation.h"
#include "wickerlane/platform/process/ProcessTable.h"

using namespace wickerlane;

TEST(ProcessInformation, hasTheArgumentsOfThisProcess) {
    const auto made = Ref<Object>::adopt(classNamed("ProcessInformation")->instantiate());
    const auto *information = as<ProcessInformation>(made.get());
    ASSERT_NE(information, nullptr);
    const Array *arguments = information->arguments();
    ASSERT_GE(arguments->count(), 1u);
    EXPECT_EQ(as<String>(arguments->at(0))->utf8(), program_invocation_name);
}

TEST(ProcessTable, holdsThisProcessAndItsParentByAscendingIds) {
    const auto table = processTable();
    ASSERT_TRUE(table);
    for (const pid_t process : {getpid(), getppid()})
        EXPECT_EQ(std::ranges::count(*table, process, &ProcessRecord::process), 1) << process;
    EXPECT_TRUE(std::ranges::is_sorted(*table, {}, &ProcessRecord::process));
    EXPECT_TRUE(std::ranges::all_of(
        *table, [](const ProcessRecord &each) { return each.command.size() <= maxCommandNameLength; }));
}

TEST(LibraryLoading, failsForWhatIsNoLibraryAndLooksNowhereElse) {
    // The second is known to the loader, but does not lie beside the library.
    for (const char *path : {"", "libc.so.6", "libnone.so", "/", "/etc/passwd", "/none/libnone.so"})
        EXPECT_FALSE(loadLibrary(path)) << path;
}

// Processes that stand still.
#ifndef WICKERLANE_TESTS_SUPPORT_STOPPEDPROCESS_H
#define WICKERLANE_TESTS_SUPPORT_STOPPEDPROCESS_H

#include <sys/types.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/WaitUntil.h"

namespace wickerlane::test {

/// Stops a process by a signal, and waits until all its threads stand still: until then they go on for a
/// moment. False when it can't be stopped. SIGCONT lets it go on.
inline bool stopProcess(pid_t process) {
    if (kill(process, SIGSTOP) != 0)
        return false;
    const auto standsStill = [](const std::filesystem::directory_entry &thread) {
        std::ifstream file(thread.path() / "stat");
        const std::string stat{std::istreambuf_iterator<char>(file), {}};
        const std::size_t nameEnd = stat.rfind(')'); // the state stands behind it
        return nameEnd != std::string::npos && stat.compare(nameEnd, 3, ") T") == 0;
    };
    return waitUntil([&] {
        std::error_code gone;
        const std::filesystem::directory_iterator threads("/proc/" + std::to_string(process) + "/task", gone);
        return !gone && std::all_of(begin(threads), end(threads), standsStill);
    });
}

} // namespace wickerlane::test

#endif

#include "tests/support/Peer.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "wickerlane/platform/file/Retry.h"

namespace wickerlane::test {

Peer::Peer(const std::string &test) {
    std::string program = "/proc/self/exe", filter = "--gtest_filter=" + test,
                disabled = "--gtest_also_run_disabled_tests", brief = "--gtest_brief=1";
    char *arguments[] = {program.data(), filter.data(), disabled.data(), brief.data(), nullptr};
    // Without this variable the started program would give its test a root of its own.
    std::string shared = std::string("WICKERLANE_TEST_SHARED_ROOT=") + getenv("WICKERLANE_ROOT");
    std::vector<char *> environment{shared.data()};
    for (char **each = environ; *each != nullptr; ++each)
        environment.push_back(*each);
    environment.push_back(nullptr);
    if (posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environment.data()) != 0)
        process = -1;
}

bool Peer::wait() {
    if (process < 0)
        return passed;
    int status = 0;
    const pid_t ended = retryInterrupted([&] { return waitpid(process, &status, 0); });
    passed = ended == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    process = -1;
    return passed;
}

} // namespace wickerlane::test

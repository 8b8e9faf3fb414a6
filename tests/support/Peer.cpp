#include "tests/support/Peer.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace wickerlane::test {

Peer::Peer(const std::string &test) {
    std::string program = "/proc/self/exe", filter = "--gtest_filter=" + test,
                disabled = "--gtest_also_run_disabled_tests", brief = "--gtest_brief=1";
    char *arguments[] = {program.data(), filter.data(), disabled.data(), brief.data(), nullptr};
    // The root goes by another name: the started program gives each test a root of its own, this one
    // excepted.
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
    pid_t ended = -1;
    do
        ended = waitpid(process, &status, 0);
    while (ended < 0 && errno == EINTR);
    passed = ended == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    process = -1;
    return passed;
}

} // namespace wickerlane::test

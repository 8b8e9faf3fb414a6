// Children that fork() makes.
#ifndef WICKERLANE_TESTS_SUPPORT_FORK_H
#define WICKERLANE_TESTS_SUPPORT_FORK_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "wickerlane/platform/process/Sanitizers.h"

/// For tests that fork while other threads run. A sanitizer's allocator does not follow that: a lock that
/// another thread holds at the fork stays locked in the child, and what the parent's threads hold looks like
/// a leak.
#if WL_ANY_SANITIZER
#define WL_NEEDS_FORK_BESIDE_THREADS() GTEST_SKIP() << "the sanitizer may hang in the child"
#else
#define WL_NEEDS_FORK_BESIDE_THREADS() static_cast<void>(0)
#endif

namespace wickerlane::test {

/// How a child ended: what `run` returned, or -1 when a signal ended it, as one does when it hangs. Its
/// standard error is lost.
template <class Run>
int resultOfForkedChild(Run run) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        const int result = run();
#if WL_ANY_SANITIZER
        _exit(result); // what the parent's threads hold looks like a leak here
#else
        exit(result);
#endif
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

} // namespace wickerlane::test

#endif

#include "wickerlane/platform/process/Circumstances.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "wickerlane/platform/process/Sanitizers.h"

namespace wickerlane {
namespace {

constexpr std::string_view passedOn[] = {
    "HOME=",
    "LANG=",
    "LANGUAGE=",
    "TZ=",
    "XDG_RUNTIME_DIR=",
#if WL_ANY_SANITIZER
    "ASAN_OPTIONS=",
    "LSAN_OPTIONS=",
    "TSAN_OPTIONS=",
    "UBSAN_OPTIONS=",
#endif
};
constexpr std::string_view passedOnFamilies[] = {"LC_", "WICKERLANE_"};

bool isPassedOn(std::string_view variable) {
    const auto begins = [variable](std::string_view with) { return variable.starts_with(with); };
    return std::ranges::any_of(passedOn, begins) || std::ranges::any_of(passedOnFamilies, begins);
}

void widenLimits() noexcept {
    // An unlimited stack would move all mappings, and shrink the stacks of threads.
    constexpr rlim_t stackBytes = 8 << 20;
    for (int resource = 0; resource < RLIMIT_NLIMITS; ++resource) {
        const auto kind = static_cast<__rlimit_resource>(resource);
        rlimit limits{};
        if (resource == RLIMIT_CORE || getrlimit(kind, &limits) != 0)
            continue;
        limits.rlim_cur = resource == RLIMIT_STACK ? std::min(stackBytes, limits.rlim_max) : limits.rlim_max;
        setrlimit(kind, &limits);
    }
}

// A process that was to be ended first, or last, when memory runs out has children like itself.
void leaveOutOfMemoryOrder() noexcept {
    const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    [[maybe_unused]] const ssize_t written = write(file, "0", 1);
    close(file);
}

} // namespace

void leaveCircumstances() noexcept {
    umask(S_IRWXG | S_IRWXO);
    widenLimits();
    constexpr sched_param none{};
    sched_setscheduler(0, SCHED_OTHER, &none);
    setpriority(PRIO_PROCESS, 0, 0);
    constexpr int ofProcess = 1; // IOPRIO_WHO_PROCESS, which has no header
    syscall(SYS_ioprio_set, ofProcess, 0, 0);
    cpu_set_t all;
    std::memset(&all, 0xff, sizeof all);
    sched_setaffinity(0, sizeof all, &all);
    leaveOutOfMemoryOrder();
}

void occupyStandardDescriptors() noexcept {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(descriptor, F_GETFD) < 0)
            // The lowest free number, which is this one.
            static_cast<void>(open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

std::vector<std::string> serviceEnvironment() {
    std::vector<std::string> chosen{"PATH=/usr/local/bin:/usr/bin:/bin"};
    for (char **variable = environ; variable != nullptr && *variable != nullptr; ++variable)
        if (isPassedOn(*variable))
            chosen.emplace_back(*variable);
    return chosen;
}

} // namespace wickerlane

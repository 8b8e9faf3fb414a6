#include "hoardd/media/worker/Confinement.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <malloc.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <memory>

#include "wickerlane/platform/process/Capabilities.h"
#include "wickerlane/platform/process/Sanitizers.h"

namespace wickerlane::hoardd::media {

namespace {

// The sanitizers reserve terabytes of addresses for themselves.
constexpr bool limitsMemory = !WL_ANY_SANITIZER;

void limit(int resource, rlim_t max) {
    const rlimit limits{max, max};
    setrlimit(static_cast<__rlimit_resource>(resource), &limits);
}

void limitResources(std::uint64_t inUse) {
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, 64);
    limit(RLIMIT_FSIZE, pictureLimits.memoryBytes);
    if (!limitsMemory)
        return;
    // Heap and stacks are what a hostile file can blow up. The address space also holds the programs and the
    // file that is looked at, and is limited so that shared mappings do not escape.
    limit(RLIMIT_DATA, pictureLimits.memoryBytes);
    limit(RLIMIT_AS, inUse + pictureLimits.memoryBytes + pictureLimits.fileBytes);
}

struct ReleaseFilter {
    void operator()(scmp_filter_ctx filter) const noexcept { seccomp_release(filter); }
};

// What decoding takes. Names that an architecture does not have mean nothing there.
constexpr int allowedCalls[] = {
    SCMP_SYS(read),
    SCMP_SYS(pread64),
    SCMP_SYS(write),
    SCMP_SYS(writev),
    SCMP_SYS(pwrite64),
    SCMP_SYS(lseek),
    SCMP_SYS(_llseek),
    SCMP_SYS(fstat),
    SCMP_SYS(fstat64),
    SCMP_SYS(close),
    SCMP_SYS(dup),
    SCMP_SYS(recvmsg),
    SCMP_SYS(sendmsg),
    SCMP_SYS(mmap),
    SCMP_SYS(mmap2),
    SCMP_SYS(mprotect),
    SCMP_SYS(munmap),
    SCMP_SYS(mremap),
    SCMP_SYS(madvise),
    SCMP_SYS(brk),
    SCMP_SYS(futex),
    SCMP_SYS(futex_time64),
    SCMP_SYS(set_robust_list),
    SCMP_SYS(rseq),
    SCMP_SYS(sched_yield),
    SCMP_SYS(sched_getaffinity),
    SCMP_SYS(sysinfo),
    SCMP_SYS(getpid),
    SCMP_SYS(gettid),
    SCMP_SYS(getrandom),
    SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_gettime64),
    SCMP_SYS(clock_nanosleep),
    SCMP_SYS(clock_nanosleep_time64),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(setitimer),
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(sigaltstack),
    SCMP_SYS(exit),
    SCMP_SYS(exit_group),
};

// What is not allowed fails with EPERM rather than killing: libraries try things that they can do without.
bool filterSystemCalls() {
    const std::unique_ptr<void, ReleaseFilter> owner(seccomp_init(SCMP_ACT_ERRNO(EPERM)));
    const scmp_filter_ctx filter = owner.get();
    if (filter == nullptr || seccomp_attr_set(filter, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS) != 0)
        return false;
    for (const int call : allowedCalls)
        if (seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 0) != 0)
            return false;
    const auto allowWhen = [&](int call, const scmp_arg_cmp &condition) {
        return seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 1, condition) == 0;
    };
    // Only the lower halves of arguments are compared: the upper ones mean nothing to these calls.
    const auto isSelf = SCMP_A0_32(SCMP_CMP_MASKED_EQ, ~0U, static_cast<std::uint32_t>(getpid()));
#ifdef __s390__ // whose clone takes its flags second
    const auto isThread = SCMP_A1_32(SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD);
#else
    const auto isThread = SCMP_A0_32(SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD);
#endif
    const auto hasNoPath = SCMP_A3_32(SCMP_CMP_MASKED_EQ, AT_EMPTY_PATH, AT_EMPTY_PATH);
    const bool isComplete =
        // The C library then uses clone, which makes threads but no processes.
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0) == 0 &&
        allowWhen(SCMP_SYS(clone), isThread) &&
        // What fstat is to the C library.
        allowWhen(SCMP_SYS(newfstatat), hasNoPath) && allowWhen(SCMP_SYS(fstatat64), hasNoPath) &&
        // What abort does.
        allowWhen(SCMP_SYS(tgkill), isSelf);
    return isComplete && seccomp_load(filter) == 0;
}

Failure breach(const char *what) {
    return fail(ProblemKind::failed, std::string("the worker ") + what);
}

} // namespace

std::uint64_t addressSpaceInUse() {
    std::array<char, 128> text{};
    std::uint64_t pages = 0; // the first number there
    const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    const ssize_t length = file >= 0 ? read(file, text.data(), text.size()) : -1;
    close(file);
    if (length > 0)
        std::from_chars(text.data(), text.data() + length, pages);
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::uint32_t forbidFiles() {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    static_cast<void>(keepOnlyCapabilities(0)); // without files they are worth little
    if (prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) != 1 || version < 1)
        return 0;
    landlock_ruleset_attr rules{};
    rules.handled_access_fs = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1; // all of the first version
    const long descriptor = syscall(SYS_landlock_create_ruleset, &rules, sizeof rules.handled_access_fs, 0);
    if (descriptor < 0)
        return 0;
    const long restricted = syscall(SYS_landlock_restrict_self, descriptor, 0);
    close(static_cast<int>(descriptor));
    return restricted == 0 ? static_cast<std::uint32_t>(version) : 0;
}

Hello confine(std::uint64_t inUse) {
    Hello hello;
    mallopt(M_ARENA_MAX, 1); // arenas reserve address space
    prctl(PR_SET_DUMPABLE, 0);
    limitResources(inUse);
    hello.landlockVersion = forbidFiles();
    if (prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) != 1)
        return hello;
    hello.hasSystemCallFilter = filterSystemCalls() ? 1 : 0;
    return hello;
}

Result<> testOwnConfinement() {
    if (open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0)
        return breach("opened a file");
    if (socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0) >= 0 ||
        socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0) >= 0)
        return breach("made a socket");
    if (kill(getppid(), 0) == 0)
        return breach("could signal its parent");
    if (const long child = syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr); child >= 0) {
        if (child == 0)
            _exit(0);
        return breach("forked");
    }
    char program[] = "/bin/true";
    char *const arguments[] = {program, nullptr};
    if (execve(program, arguments, nullptr) == 0 || errno != EPERM)
        return breach("could try to execute a program");
    const rlimit wide{RLIM_INFINITY, RLIM_INFINITY};
    if (setrlimit(RLIMIT_DATA, &wide) == 0)
        return breach("raised its limits");
    return {};
}

} // namespace wickerlane::hoardd::media

#include "hoardd/media/worker/Confinement.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <csignal>
#include <cstddef>
#include <vector>

#if defined(__x86_64__)
#define WORKER_ARCHITECTURE AUDIT_ARCH_X86_64
#elif defined(__aarch64__)
#define WORKER_ARCHITECTURE AUDIT_ARCH_AARCH64
#endif

// The sanitizers reserve terabytes of addresses for themselves.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define WORKER_LIMITS_MEMORY 0
#else
#define WORKER_LIMITS_MEMORY 1
#endif

namespace wickerlane::hoardd::media {

namespace {

void limit(int resource, rlim_t most) {
    const rlimit limits{most, most};
    setrlimit(static_cast<__rlimit_resource>(resource), &limits);
}

// Bytes of address space in use.
std::uint64_t addressSpace() {
    std::array<char, 128> text{};
    std::uint64_t pages = 0; // the first number there
    const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    const ssize_t length = file >= 0 ? read(file, text.data(), text.size()) : -1;
    close(file);
    if (length > 0)
        std::from_chars(text.data(), text.data() + length, pages);
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

void limitResources() {
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, 64);
    limit(RLIMIT_FSIZE, pictureLimits.memoryBytes);
    if (!WORKER_LIMITS_MEMORY)
        return;
    // Heap and stacks are what a hostile file can blow up. The address space also holds the programs and the
    // file that is looked at, and is limited so that shared mappings do not escape.
    limit(RLIMIT_DATA, pictureLimits.memoryBytes);
    limit(RLIMIT_AS, addressSpace() + pictureLimits.memoryBytes + pictureLimits.fileBytes);
}

std::uint32_t landlock() {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1)
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

#ifdef WORKER_ARCHITECTURE

constexpr std::uint32_t low32(std::size_t argument) {
    return static_cast<std::uint32_t>(offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t));
}

// What is not allowed fails with EPERM rather than killing: libraries try things that they can do without.
bool filterSystemCalls() {
    std::vector<sock_filter> filter{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, WORKER_ARCHITECTURE, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    };
    const auto answer = [&](long call, std::uint32_t action) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, action));
    };
    // Allows a call when the masked low half of an argument has a value.
    const auto allowWhen = [&](long call, std::size_t argument, std::uint32_t mask, std::uint32_t value) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 5));
        filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, low32(argument)));
        filter.push_back(BPF_STMT(BPF_ALU | BPF_AND | BPF_K, mask));
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM));
    };
    for (const long call : {SYS_read,
                            SYS_pread64,
                            SYS_write,
                            SYS_writev,
                            SYS_pwrite64,
                            SYS_lseek,
                            SYS_fstat,
                            SYS_close,
                            SYS_dup,
                            SYS_recvmsg,
                            SYS_sendmsg,
                            SYS_mmap,
                            SYS_mprotect,
                            SYS_munmap,
                            SYS_mremap,
                            SYS_madvise,
                            SYS_brk,
                            SYS_futex,
                            SYS_set_robust_list,
                            SYS_rseq,
                            SYS_sched_yield,
                            SYS_sched_getaffinity,
                            SYS_sysinfo,
                            SYS_getpid,
                            SYS_gettid,
                            SYS_getrandom,
                            SYS_clock_gettime,
                            SYS_clock_nanosleep,
                            SYS_gettimeofday,
                            SYS_setitimer,
                            SYS_rt_sigaction,
                            SYS_rt_sigprocmask,
                            SYS_rt_sigreturn,
                            SYS_sigaltstack,
                            SYS_exit,
                            SYS_exit_group})
        answer(call, SECCOMP_RET_ALLOW);
    answer(SYS_clone3, SECCOMP_RET_ERRNO | ENOSYS);                      // the C library then uses clone
    allowWhen(SYS_clone, 0, CLONE_THREAD, CLONE_THREAD);                 // threads, no processes
    allowWhen(SYS_newfstatat, 3, AT_EMPTY_PATH, AT_EMPTY_PATH);          // what fstat is to the C library
    allowWhen(SYS_tgkill, 0, ~0U, static_cast<std::uint32_t>(getpid())); // what abort does
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM));

    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

#else

bool filterSystemCalls() {
    return false;
}

#endif

} // namespace

Hello confine() {
    Hello hello;
    mallopt(M_ARENA_MAX, 1); // arenas reserve address space
    prctl(PR_SET_DUMPABLE, 0);
    limitResources();
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return hello;
    hello.landlockVersion = landlock();
    hello.hasSystemCallFilter = filterSystemCalls() ? 1 : 0;
    return hello;
}

std::string confinementBreach() {
    if (open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0)
        return "opened a file";
    if (socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0) >= 0 ||
        socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0) >= 0)
        return "made a socket";
    if (kill(getppid(), 0) == 0)
        return "could signal its parent";
    if (const long child = syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr); child >= 0) {
        if (child == 0)
            _exit(0);
        return "forked";
    }
    char program[] = "/bin/true";
    char *const arguments[] = {program, nullptr};
    if (execve(program, arguments, nullptr) == 0 || errno != EPERM)
        return "could try to execute a program";
    const rlimit wide{RLIM_INFINITY, RLIM_INFINITY};
    if (setrlimit(RLIMIT_DATA, &wide) == 0)
        return "raised its limits";
    return {};
}

} // namespace wickerlane::hoardd::media

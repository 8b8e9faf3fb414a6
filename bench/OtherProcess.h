// A second process for benchmarks of what goes between two.
#ifndef WICKERLANE_BENCH_OTHERPROCESS_H
#define WICKERLANE_BENCH_OTHERPROCESS_H

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

namespace bench {

inline void bindTo(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(processor), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0)
        std::perror("sched_setaffinity");
}

// Runs a service in another process until the measurement is over.
class Other {
public:
    Other(int processor, const std::function<void(int)> &serve) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
            std::abort();
        process = fork();
        if (process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL); // it ends with this process, however that ends
            close(ends[0]);
            bindTo(processor);
            serve(ends[1]);
            _exit(0);
        }
        close(ends[1]);
        socket = ends[0];
    }
    ~Other() {
        close(socket);
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    int socket = -1;

private:
    pid_t process = -1;
};

inline void readAll(int fd, char *bytes, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        const ssize_t got = read(fd, bytes + done, count - done);
        if (got <= 0)
            _exit(0);
        done += static_cast<std::size_t>(got);
    }
}

inline void writeAll(int fd, const char *bytes, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        const ssize_t put = write(fd, bytes + done, count - done);
        if (put <= 0)
            _exit(0);
        done += static_cast<std::size_t>(put);
    }
}

// Runs `measure` with this process on the first processor and the number of the one for the other process:
// the same, then the second. Each in a process of its own, since threads of the library stay where they were
// started; with a root of its own.
inline int onOneAndTwoProcessors(void (*measure)(const char *where, int processor)) {
    std::string root = (std::filesystem::temp_directory_path() / "wickerlane-bench-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr)
        return 1;
    setenv("WICKERLANE_ROOT", root.c_str(), 1);
    int status = 0;
    for (const int other : {0, 1}) {
        std::fflush(stdout);
        const pid_t measuring = fork();
        if (measuring == 0) {
            bindTo(0);
            measure(other == 0 ? "one processor" : "two processors", other);
            std::fflush(stdout);
            _exit(0);
        }
        int ended = 0;
        if (waitpid(measuring, &ended, 0) < 0 || ended != 0)
            status = 1;
    }
    std::filesystem::remove_all(root);
    return status;
}

} // namespace bench

#endif

#include "hoardd/media/WorkerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/process/Sanitizers.h"

namespace wickerlane::hoardd::media {

namespace {

using Clock = std::chrono::steady_clock;

// A busy machine may take long to load the libraries; a worker that fails to start hangs up at once.
constexpr std::chrono::seconds startDeadline{30};

// Waits until there is something to read, or the end of the stream. False at the deadline.
bool waitReadable(int socket, std::chrono::milliseconds deadline) {
    const auto end = Clock::now() + deadline;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd waiting{socket, POLLIN, 0};
        const int ready = poll(&waiting, 1, left > 0 ? static_cast<int>(left) : 0);
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&actions); }
    SpawnActions(const SpawnActions &) = delete;
    SpawnActions &operator=(const SpawnActions &) = delete;
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }
    posix_spawn_file_actions_t *get() { return &actions; }

private:
    posix_spawn_file_actions_t actions{};
};

// Nothing is inherited but the socket: no open files, no environment. What a decoder prints about a hostile
// file goes nowhere; only the sanitizers are heard.
Result<pid_t> spawn(const std::string &program, WorkerProcess::Mode mode, int socket) {
    SpawnActions actions;
    posix_spawn_file_actions_addopen(actions.get(), 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(actions.get(), 1, "/dev/null", O_WRONLY, 0);
#if !WL_ANY_SANITIZER
    posix_spawn_file_actions_addopen(actions.get(), 2, "/dev/null", O_WRONLY, 0);
#endif
    posix_spawn_file_actions_adddup2(actions.get(), socket, workerSocket);
    posix_spawn_file_actions_addclosefrom_np(actions.get(), workerSocket + 1);

    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::string name = program;
    std::string modeName = mode == WorkerProcess::Mode::isolated ? "serve-apart" : "serve";
    std::string locale = "LC_ALL=C.UTF-8";
    char *arguments[] = {name.data(), modeName.data(), nullptr};
    char *environment[] = {locale.data(), nullptr};
    pid_t process = 0;
    const int error =
        posix_spawn(&process, program.c_str(), actions.get(), &attributes, arguments, environment);
    posix_spawnattr_destroy(&attributes);
    if (error != 0)
        return fail(ProblemKind::failed, program + " cannot be started: " + strerrordesc_np(error), program);
    return process;
}

} // namespace

Result<std::unique_ptr<WorkerProcess>> WorkerProcess::start(const std::string &program, Mode mode) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return fail(ProblemKind::failed,
                    "no socket for the media worker: " + std::string(strerrordesc_np(errno)));
    UniqueFd near(ends[0]);
    UniqueFd far(ends[1]);
    // A descriptor moved onto its own number would keep its close-on-exec flag.
    if (far.get() == workerSocket)
        far.reset(fcntl(far.get(), F_DUPFD_CLOEXEC, workerSocket + 1));
    const auto process = spawn(program, mode, far.get());
    if (!process)
        return passOn(process);
    far.reset();
    std::unique_ptr<WorkerProcess> worker(new WorkerProcess(*process, std::move(near)));
    std::vector<UniqueFd> none;
    if (!waitReadable(worker->socket.get(), startDeadline) ||
        !receivePacket(worker->socket.get(), worker->greeting, none) ||
        worker->greeting.version != protocolVersion)
        return fail(ProblemKind::failed, program + " does not answer as a media worker", program);
    if (worker->greeting.hasSystemCallFilter == 0)
        return fail(ProblemKind::failed,
                    "the kernel cannot filter the system calls of media workers: pictures are not decoded");
    return worker;
}

WorkerProcess::~WorkerProcess() {
    endingSignal();
}

WorkerProcess::Exchange WorkerProcess::exchange(const WorkerRequest &request,
                                                std::span<const int> descriptors,
                                                std::chrono::milliseconds deadline, WorkerAnswer &answer) {
    usable = false;
    if (!sendPacket(socket.get(), request, descriptors))
        return Exchange::notDelivered;
    if (!waitReadable(socket.get(), deadline))
        return Exchange::timedOut;
    std::vector<UniqueFd> unwanted;
    if (!receivePacket(socket.get(), answer, unwanted))
        return Exchange::died;
    ++requestCount;
    usable = true;
    return Exchange::answered;
}

bool WorkerProcess::runAt(int niceness) {
    if (getpriority(PRIO_PROCESS, static_cast<id_t>(process)) == niceness)
        return true;
    // Each thread has its own; the first is set last, since it stands for all above.
    std::error_code error;
    const std::string threads = "/proc/" + std::to_string(process) + "/task";
    for (std::filesystem::directory_iterator each(threads, error), end; !error && each != end;
         each.increment(error))
        if (const pid_t thread =
                static_cast<pid_t>(std::strtol(each->path().filename().c_str(), nullptr, 10));
            thread != process)
            static_cast<void>(setpriority(PRIO_PROCESS, static_cast<id_t>(thread), niceness));
    return setpriority(PRIO_PROCESS, static_cast<id_t>(process), niceness) == 0;
}

int WorkerProcess::endingSignal() {
    if (reaped)
        return signal;
    reaped = true;
    // The number is ours until it is waited for. A worker that has ended by itself keeps its own way of
    // ending.
    kill(process, SIGKILL);
    int status = 0;
    const pid_t waited = retryInterrupted([&] { return waitpid(process, &status, 0); });
    signal = waited == process && WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return signal;
}

} // namespace wickerlane::hoardd::media

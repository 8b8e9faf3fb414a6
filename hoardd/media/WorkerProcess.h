// One media worker: a confined child process and the socket to it.
#ifndef HOARDD_MEDIA_WORKERPROCESS_H
#define HOARDD_MEDIA_WORKERPROCESS_H

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <span>
#include <string>

#include "hoardd/media/Protocol.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::hoardd::media {

/// Ends its process when it goes away. Used by one thread at a time.
class WorkerProcess {
public:
    enum class Mode {
        shared,   ///< One process for all requests.
        isolated, ///< A new process for each request.
    };

    /// Starts a worker and waits until it is ready and confined. The worker ends with the calling thread,
    /// should that end first.
    [[nodiscard]] static Result<std::unique_ptr<WorkerProcess>> start(const std::string &program, Mode mode);

    WorkerProcess(const WorkerProcess &) = delete;
    WorkerProcess &operator=(const WorkerProcess &) = delete;
    ~WorkerProcess();

    /// How an exchange ended. After anything but `answered` the worker can't be used again.
    enum class Exchange {
        answered,
        notDelivered, ///< It had ended before: another worker may be asked.
        timedOut,
        died, ///< See endingSignal().
    };
    Exchange exchange(const WorkerRequest &request, std::span<const int> descriptors,
                      std::chrono::milliseconds deadline, WorkerAnswer &answer);

    /// Ends the process unless it has ended by itself; the number of the signal that ended it, or 0.
    int endingSignal();

    /// Lets it run at a niceness, as one of its user's processes. False when it may not: a process that has
    /// given way can be forbidden to come back.
    [[nodiscard]] bool runAt(int niceness);

    [[nodiscard]] pid_t processID() const noexcept { return process; }
    [[nodiscard]] const Hello &hello() const noexcept { return greeting; }
    [[nodiscard]] unsigned requests() const noexcept { return requestCount; } ///< Answered so far.
    [[nodiscard]] bool isUsable() const noexcept { return usable; }           ///< No exchange has failed.

private:
    WorkerProcess(pid_t child, UniqueFd end) : process(child), socket(std::move(end)) {}

    pid_t process;
    UniqueFd socket;
    Hello greeting;
    unsigned requestCount = 0;
    bool usable = true;
    bool reaped = false;
    int signal = 0;
};

} // namespace wickerlane::hoardd::media

#endif

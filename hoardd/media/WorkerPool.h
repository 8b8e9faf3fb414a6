// Workers of one mode: started ahead of need, lent to one thread at a time, replaced when they are spent or
// lost.
#ifndef HOARDD_MEDIA_WORKERPOOL_H
#define HOARDD_MEDIA_WORKERPOOL_H

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hoardd/media/WorkerProcess.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::hoardd::media {

class WorkerPool {
public:
    struct Settings {
        std::string program;
        WorkerProcess::Mode mode = WorkerProcess::Mode::shared;
        unsigned maxWorkers = 1;        ///< At a time.
        unsigned minWorkers = 0;        ///< Kept running when there is nothing to do.
        unsigned requestsPerWorker = 0; ///< Then it is replaced.
    };

    explicit WorkerPool(Settings settings);
    /// Every worker must have been given back.
    ~WorkerPool();

    /// A worker for the caller alone, at the priority of the calling thread; waits until one is free. Fails
    /// when none can be started.
    [[nodiscard]] Result<std::unique_ptr<WorkerProcess>> borrow();
    /// Takes a borrowed worker back; one that can't be used again is ended and replaced.
    void giveBack(std::unique_ptr<WorkerProcess> worker);

    struct Status {
        unsigned idle = 0;
        unsigned busy = 0;
        std::uint64_t started = 0; ///< Since the pool was made.
        std::vector<pid_t> processes;
        Hello hello;         ///< Of the worker started last.
        std::string problem; ///< Why the last start failed; empty when it did not.
    };
    [[nodiscard]] Status status() const;

private:
    [[nodiscard]] bool needsWorker() const WL_REQUIRES(mutex);
    [[nodiscard]] Result<std::unique_ptr<WorkerProcess>> borrowAny();
    void retire(std::unique_ptr<WorkerProcess> worker);
    void startWorkers();

    const Settings settings;
    mutable Mutex mutex;
    Condition changed; ///< A worker is idle, or none can be had.
    Condition needed;  ///< needsWorker(), or isEnding.
    std::vector<std::unique_ptr<WorkerProcess>> idle WL_GUARDED_BY(mutex);
    std::vector<pid_t> processes WL_GUARDED_BY(mutex); ///< Of idle and borrowed workers.
    unsigned waiting WL_GUARDED_BY(mutex) = 0;
    unsigned failures WL_GUARDED_BY(mutex) = 0; ///< Starts that failed since one succeeded.
    std::uint64_t started WL_GUARDED_BY(mutex) = 0;
    Hello lastHello WL_GUARDED_BY(mutex);
    std::string problem WL_GUARDED_BY(mutex); ///< Of the last start; empty when it succeeded.
    bool isEnding WL_GUARDED_BY(mutex) = false;
    std::thread starter; ///< Workers end with the thread that started them, so one thread starts all.
};

} // namespace wickerlane::hoardd::media

#endif

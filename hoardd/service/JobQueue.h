// Work that takes long, in a bounded queue.
#ifndef HOARDD_SERVICE_JOBQUEUE_H
#define HOARDD_SERVICE_JOBQUEUE_H

#include <cstddef>
#include <deque>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::hoardd {

/// Runs jobs on the global queue, a few at a time. The process is held in a transaction as long as there are
/// jobs. Thread-safe.
class JobQueue {
public:
    using Job = Handler<void()>;

    /// `maxJobs` may wait or run at a time; `maxRunning` of them run. 0 runs as many as suit saves, so that
    /// the processors and the media workers are kept busy. `textWhenFull` is the problem of a full queue.
    explicit JobQueue(std::size_t maxJobs, std::size_t maxRunning = 0, const char *textWhenFull = nullptr);

    /// How many jobs run at a time.
    [[nodiscard]] std::size_t lanes() const noexcept { return maxLanes; }
    /// Takes the jobs of one request, all or none: `queueFull` when the queue is full or closed. They start
    /// in order.
    [[nodiscard]] Result<> add(std::vector<Job> jobs);
    /// Takes the rest of a job, which runs after those that wait: called by that job, and whatever the state
    /// of the queue, so that what was begun is finished.
    void addRest(Job rest);
    /// Takes no more, and waits until those that were taken have run.
    void close();

private:
    void start(std::size_t lanes);
    void runLane();
    void enqueue(Job job) WL_REQUIRES(mutex);

    const char *const textOfFull;
    const std::size_t maxUnfinished;
    const std::size_t maxLanes;
    Mutex mutex;
    Condition emptied;
    std::deque<Job> waiting WL_GUARDED_BY(mutex);
    std::size_t unfinished WL_GUARDED_BY(mutex) = 0; ///< Jobs that wait or run.
    std::size_t lanesRunning WL_GUARDED_BY(mutex) = 0;
    bool isClosed WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane::hoardd

#endif

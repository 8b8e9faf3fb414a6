// Work that takes long, in a bounded queue.
#ifndef HOARDD_SERVICE_JOBQUEUE_H
#define HOARDD_SERVICE_JOBQUEUE_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <vector>

#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::hoardd {

/// Runs jobs on the global queue, a few at a time: as many as keep the processors and the media workers busy.
/// The process is held in a transaction as long as there are jobs. Thread-safe.
class JobQueue {
public:
    using Job = Handler<void()>;

    /// `most` jobs may wait or run at a time; `lanes` of them run, as many as suit saves when it is 0.
    explicit JobQueue(std::size_t most, std::size_t lanes = 0);

    /// How many jobs run at a time.
    [[nodiscard]] std::size_t lanes() const noexcept { return mostRunning; }
    /// Takes the jobs of one request, all or none: none when the queue is full or closed. They start in
    /// order.
    [[nodiscard]] bool add(std::vector<Job> jobs);
    /// Takes the rest of a job, which runs after those that wait: from that job itself, and whatever the
    /// state of the queue, so that what was begun is finished.
    void addRest(Job rest);
    /// Takes no more, and waits until those that were taken have run.
    void close();

private:
    void start(std::size_t lanes);
    void runLane();

    const std::size_t most;
    const std::size_t mostRunning;
    std::mutex lock;
    std::condition_variable emptied;
    std::deque<Job> waiting;
    std::size_t unfinished = 0; // waiting or running
    std::size_t running = 0;    // lanes
    bool closed = false;
};

} // namespace wickerlane::hoardd

#endif

// Work that takes long, in a bounded queue.
#ifndef HOARDD_SERVICE_JOBQUEUE_H
#define HOARDD_SERVICE_JOBQUEUE_H

#include <sys/types.h>

#include <cstddef>
#include <deque>
#include <map>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::hoardd {

/// Runs jobs on the global queue, a few at a time, in turns for each client. The process is held in a
/// transaction as long as there are jobs. Thread-safe.
class JobQueue {
public:
    using Job = Handler<void()>;

    /// `maxJobs` of a client may wait or run at a time; `maxRunning` of all run. 0 runs as many as suit
    /// saves, so that the processors and the media workers are kept busy. `textWhenFull` is the problem of a
    /// full queue.
    explicit JobQueue(std::size_t maxJobs, std::size_t maxRunning = 0, const char *textWhenFull = nullptr);

    /// How many jobs run at a time.
    [[nodiscard]] std::size_t lanes() const noexcept { return maxLanes; }
    /// Takes no more, and waits until those that were taken have run.
    void close();

private:
    friend class ClientJobs;
    enum class Place { first, last }; // among the waiting jobs of its client
    struct Line {
        std::deque<Job> waiting;
        std::size_t unfinished = 0; // jobs that wait or run
    };

    [[nodiscard]] Result<> add(pid_t client, std::vector<Job> jobs, bool mayRefuse, Place place);
    void addRest(pid_t client, Job rest);
    [[nodiscard]] std::size_t lanesToStart(std::size_t jobs) WL_REQUIRES(mutex);
    void start(std::size_t lanes);
    void runLane();
    void enqueue(pid_t client, Job job, Place place) WL_REQUIRES(mutex);

    const char *const textOfFull;
    const std::size_t maxUnfinished;
    const std::size_t maxLanes;
    Mutex mutex;
    Condition emptied;
    std::map<pid_t, Line> lines WL_GUARDED_BY(mutex); // of the clients with jobs
    std::deque<pid_t> turns WL_GUARDED_BY(mutex);     // clients whose jobs wait, the next one first
    std::size_t lanesRunning WL_GUARDED_BY(mutex) = 0;
    bool isClosed WL_GUARDED_BY(mutex) = false;
};

/// The place of one client, which is a process, in a queue.
class ClientJobs {
public:
    using Job = JobQueue::Job;

    /// Jobs that nothing waits for can't be refused for want of room, since nothing would tell: they wait,
    /// and their client sends no more than the listener holds.
    ClientJobs(JobQueue &jobs, pid_t process, bool mayBeRefused)
        : queue(&jobs), client(process), mayRefuse(mayBeRefused) {}
    /// Of the daemon's own accord.
    [[nodiscard]] static ClientJobs ownOf(JobQueue &jobs) { return {jobs, 0, false}; }

    [[nodiscard]] std::size_t lanes() const noexcept { return queue->lanes(); }
    /// Takes the jobs of one request, all or none: `queueFull` when the client has too many or the queue is
    /// closed. They start in order.
    [[nodiscard]] Result<> add(std::vector<Job> jobs) const {
        return queue->add(client, std::move(jobs), mayRefuse, JobQueue::Place::last);
    }
    /// The same for one that runs before those of the client that wait.
    [[nodiscard]] Result<> addFirst(Job job) const {
        return queue->add(client, {std::move(job)}, mayRefuse, JobQueue::Place::first);
    }
    /// Takes the rest of a job, which runs after those of the client that wait: called by that job, and
    /// whatever the state of the queue, so that what was begun is finished.
    void addRest(Job rest) const { queue->addRest(client, std::move(rest)); }

private:
    JobQueue *queue;
    pid_t client;
    bool mayRefuse;
};

} // namespace wickerlane::hoardd

#endif

// The threads behind the global queue.
#ifndef WICKERLANE_PLATFORM_QUEUE_THREADPOOL_H
#define WICKERLANE_PLATFORM_QUEUE_THREADPOOL_H

#include <sys/types.h>

#include <deque>
#include <vector>

#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/AdaptiveMutex.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// One queue of items and the threads that run them.
///
/// As many workers as there are processors (two at least) may be active at once; beyond that an item waits
/// for one of them, since more threads would only take turns. A worker that blocks is no longer active, and
/// another takes its place: at once where it blocks in a wait of the library's own (BlockingRegion). For all
/// other waits there is a tick every millisecond while items wait: if the first in line has stood there for a
/// whole tick, the kernel is asked which of the active workers that were at the same item then are asleep. So
/// a burst of short items makes hardly more threads than there are processors, and blocked ones delay the
/// next by two ticks, however many they are. Lastly, when no item has started for 100 ticks, because the
/// active workers compute without end, one worker more starts.
///
/// Submitting wakes no worker while one is searching already; one that finds more than it can do passes the
/// search on to the next. A worker without work spins a little before it sleeps, and ends after some seconds
/// of sleep.
class ThreadPool {
public:
    [[nodiscard]] static ThreadPool &shared();

    /// Starts a worker unless there is one. False when the system has no thread left.
    [[nodiscard]] bool startWorker() noexcept WL_EXCLUDES(mutex);
    void submit(WorkQueue::Work work) WL_EXCLUDES(mutex);
    void submit(std::span<WorkQueue::Work> batch) WL_EXCLUDES(mutex);

    /// Marks the calling thread as blocked. False, without an effect, when it is no worker or is marked
    /// already.
    bool enterBlocking() noexcept WL_EXCLUDES(mutex);
    /// Ends what an enterBlocking() began that gave true.
    void leaveBlocking() noexcept WL_EXCLUDES(mutex);

private:
    friend class NeverDestroyed<ThreadPool>;
    struct Worker {
        std::atomic<std::uint32_t> woken{0};
        std::atomic<std::uint64_t> item{0}; // the number of the item that runs; 0 when none does
        bool isBlocked = false;
        pid_t thread = 0;
    };
    /// What is to be done for a waiting item once the mutex is released.
    struct Dispatch {
        Worker *wakes = nullptr;
        bool startsThread = false;
        bool startsTicking = false;
    };

    ThreadPool();
    [[nodiscard]] bool startThread() noexcept WL_EXCLUDES(mutex);
    void runWorker() noexcept;
    bool sleep(Worker &self) WL_REQUIRES(mutex);
    void spin() const noexcept;
    [[nodiscard]] std::size_t active() const noexcept WL_REQUIRES(mutex) {
        return workerCount - idle.size() - blocked;
    }
    [[nodiscard]] Dispatch planDispatch(bool beyondWidth = false) WL_REQUIRES(mutex);
    void perform(const Dispatch &dispatch) noexcept WL_EXCLUDES(mutex);
    bool tick();
    void findBlocked(std::uint64_t newest) WL_REQUIRES(mutex);
    void unmark(Worker &worker) noexcept WL_REQUIRES(mutex);

    const std::size_t width; // workers that may be active at once

    AdaptiveMutex mutex;
    std::deque<WorkQueue::Work> items WL_GUARDED_BY(mutex);
    std::atomic<std::size_t> waiting{0};            // items.size(), to be read without the mutex
    std::uint64_t started WL_GUARDED_BY(mutex) = 0; // items taken from the queue so far
    std::vector<Worker *> workers WL_GUARDED_BY(mutex);
    std::vector<Worker *> idle WL_GUARDED_BY(mutex);  // asleep; the last to fall asleep is the first to wake
    std::size_t workerCount WL_GUARDED_BY(mutex) = 0; // with those whose thread is starting
    std::size_t searching WL_GUARDED_BY(mutex) = 0;   // workers that are about to look for an item
    std::size_t blocked WL_GUARDED_BY(mutex) = 0;     // workers marked so

    // What the tick remembers.
    bool isTicking WL_GUARDED_BY(mutex) = false;
    unsigned quietTicks WL_GUARDED_BY(mutex) = 0;
    unsigned stalledTicks WL_GUARDED_BY(mutex) = 0;
    std::uint64_t startedAtLastTick WL_GUARDED_BY(mutex) = 0;
    std::uint64_t submittedAtLastTick WL_GUARDED_BY(mutex) = 0;
};

} // namespace wickerlane

#endif

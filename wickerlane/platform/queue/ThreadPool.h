// The threads behind the global queue.
#ifndef WICKERLANE_PLATFORM_QUEUE_THREADPOOL_H
#define WICKERLANE_PLATFORM_QUEUE_THREADPOOL_H

#include <sys/types.h>

#include <deque>
#include <mutex>
#include <vector>

#include "wickerlane/platform/queue/Lock.h"
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
/// next by two ticks, however many they are. Lastly, when nothing has begun for 100 ticks, because the active
/// workers compute without end, one worker more begins.
///
/// Submitting wakes nobody while a worker is looking for work already; one that finds more than it can do
/// passes the search on to the next. A worker without work looks a little longer before it sleeps, and ends
/// after some seconds of sleep.
class ThreadPool {
public:
    [[nodiscard]] static ThreadPool &shared();

    void submit(WorkQueue::Work work);
    void submit(std::span<WorkQueue::Work> batch);

    /// Marks the calling thread as blocked, or no longer so. The first is false, and does nothing, when it is
    /// no worker or is marked already.
    bool enterBlocking() noexcept;
    void leaveBlocking() noexcept;

private:
    struct Worker {
        std::atomic<std::uint32_t> woken{0};
        std::atomic<std::uint64_t> item{0}; // the number of the item that runs; 0 when none does
        bool blocked = false;
        pid_t thread = 0;
    };
    /// What to do about a new item once the lock is released.
    struct Call {
        Worker *sleeper = nullptr;
        bool newThread = false;
        bool monitor = false;
    };

    ThreadPool();
    void work() noexcept;
    bool sleep(Worker &self, std::unique_lock<Lock> &guard);
    void lookAround() const noexcept;
    [[nodiscard]] std::size_t active() const noexcept { return workers - idle.size() - blocked; }
    [[nodiscard]] Call callForWork(bool beyondWidth = false);
    void place(const Call &call) noexcept;
    bool tick();
    void findBlocked(std::unique_lock<Lock> &guard, std::uint64_t newest);
    void unmark(Worker &worker) noexcept;

    const std::size_t width; // workers that may be active at once

    Lock lock;
    std::deque<WorkQueue::Work> items;
    std::atomic<std::size_t> waiting{0}; // items.size(), for a look without the lock
    std::uint64_t begun = 0;             // items taken from the queue since the process began
    std::vector<Worker *> present;
    std::vector<Worker *> idle; // asleep; the last to fall asleep is the first to wake
    std::size_t workers = 0;    // present ones, and those whose thread is starting
    std::size_t looking = 0;    // awake, and about to look at the queue
    std::size_t blocked = 0;    // marked so

    // The tick's memory.
    bool monitored = false;
    unsigned quietTicks = 0;
    unsigned standingTicks = 0;
    std::uint64_t begunBefore = 0;
    std::uint64_t submittedBefore = 0;
};

} // namespace wickerlane

#endif

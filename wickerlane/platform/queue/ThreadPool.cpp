#include "wickerlane/platform/queue/ThreadPool.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/process/ProcessFacts.h"
#include "wickerlane/platform/queue/AfterFork.h"
#include "wickerlane/platform/queue/BlockingRegion.h"
#include "wickerlane/platform/queue/Futex.h"
#include "wickerlane/platform/queue/RunItem.h"
#include "wickerlane/platform/queue/Thread.h"
#include "wickerlane/platform/queue/Timer.h"

namespace wickerlane {
namespace {

constexpr std::size_t maxWorkers = 2048; // far from the kernel's limits, and beyond any sensible use
constexpr std::chrono::seconds idleLife{5};
constexpr std::chrono::milliseconds tickLength{1};
constexpr unsigned maxStalledTicks = 100; // without an item that starts, until one more worker starts
constexpr unsigned maxQuietTicks = 16;    // without an item that waits, until the ticking ends
// Of a worker before it sleeps. Each yields to any other thread that wants the processor, so that spinning
// costs little where there is only one; together they last about as long as a sleep and a wake.
constexpr int maxSpins = 20;

// Whether the kernel has the thread sleeping, rather than running or waiting for a processor.
bool isAsleep(pid_t thread) {
    std::array<char, 64> path{}, text{};
    std::snprintf(path.data(), path.size(), "/proc/self/task/%d/stat", thread);
    const UniqueFd file(open(path.data(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return true;
    const ssize_t length = read(file.get(), text.data(), text.size() - 1);
    // "number (name) state ...", where our names hold no parenthesis but an application may have renamed the
    // thread.
    const char *end = length > 0 ? std::strrchr(text.data(), ')') : nullptr;
    return end == nullptr || end[1] == '\0' || end[2] != 'R';
}

thread_local constinit void *workerOfThread = nullptr;

} // namespace

ThreadPool &ThreadPool::shared() {
    static NeverDestroyed<ThreadPool> pool;
    return *pool;
}

ThreadPool::ThreadPool() : width(std::max(2U, processorCount())) {
}

void ThreadPool::submit(WorkQueue::Work work) {
    submit({&work, 1});
}

void ThreadPool::submit(std::span<WorkQueue::Work> batch) {
    if (isForkedChild())
        return runAfterFork(batch);
    Dispatch dispatch;
    {
        const AdaptiveMutexLock lock(mutex);
        for (WorkQueue::Work &work : batch)
            if (work)
                items.push_back(std::move(work));
        waiting.store(items.size(), std::memory_order_relaxed);
        dispatch = planDispatch();
    }
    perform(dispatch);
}

// Decides which worker takes the first waiting item, unless one is searching already. Whenever items wait, a
// worker is searching or the tick goes on.
ThreadPool::Dispatch ThreadPool::planDispatch(bool beyondWidth) {
    Dispatch dispatch;
    if (items.empty() || searching > 0)
        return dispatch;
    if (active() < width || beyondWidth) {
        if (!idle.empty()) {
            dispatch.wakes = idle.back();
            idle.pop_back();
            dispatch.wakes->woken.store(1, std::memory_order_relaxed);
            ++searching;
            return dispatch;
        }
        if (workerCount < maxWorkers) {
            dispatch.startsThread = true;
            ++workerCount;
            ++searching;
            return dispatch;
        }
    }
    dispatch.startsTicking = !std::exchange(isTicking, true);
    return dispatch;
}

void ThreadPool::perform(const Dispatch &dispatch) noexcept {
    bool startsTicking = dispatch.startsTicking;
    if (dispatch.wakes != nullptr)
        futexWake(&dispatch.wakes->woken, 1);
    if (dispatch.startsThread && !startThread()) {
        // The system is short of threads: the item waits for a worker that is there, or for the tick to try
        // again.
        const AdaptiveMutexLock lock(mutex);
        startsTicking = !std::exchange(isTicking, true);
    }
    if (startsTicking)
        Timer::shared().startTicking(tickLength, [] { return shared().tick(); });
}

// Of a worker that is counted already.
bool ThreadPool::startThread() noexcept {
    if (wickerlane::startThread(
            "wl-worker", [](void *pool) { static_cast<ThreadPool *>(pool)->runWorker(); }, this))
        return true;
    const AdaptiveMutexLock lock(mutex);
    --workerCount;
    --searching;
    return false;
}

bool ThreadPool::startWorker() noexcept {
    if (isForkedChild())
        return false;
    {
        const AdaptiveMutexLock lock(mutex);
        if (workerCount != 0)
            return true;
        ++workerCount;
        ++searching;
    }
    return startThread();
}

void ThreadPool::runWorker() noexcept {
    Worker self;
    self.thread = gettid();
    workerOfThread = &self;
    {
        AdaptiveMutexLock lock(mutex);
        workers.push_back(&self);
        for (;;) { // here this worker counts as searching
            if (items.empty()) {
                lock.unlock();
                spin();
                lock.lock();
                if (items.empty() && !sleep(self))
                    break;
                continue;
            }
            WorkQueue::Work work = std::move(items.front());
            items.pop_front();
            waiting.store(items.size(), std::memory_order_relaxed);
            --searching;
            self.item.store(++started, std::memory_order_relaxed);
            const Dispatch dispatch = planDispatch();
            lock.unlock();
            perform(dispatch);
            runItem(std::move(work));
            if (isForkedChild())
                return; // the item forked, and the child's only thread has come out of it
            self.item.store(0, std::memory_order_relaxed);
            lock.lock();
            unmark(self);
            ++searching;
        }
        std::erase(workers, &self);
        --workerCount;
    }
    workerOfThread = nullptr;
}

void ThreadPool::spin() const noexcept {
    for (int i = 0; i < maxSpins && waiting.load(std::memory_order_relaxed) == 0; ++i)
        sched_yield();
}

// Returns, searching again, when an item came; false when none did for long enough to end the thread.
bool ThreadPool::sleep(Worker &self) {
    --searching;
    self.woken.store(0, std::memory_order_relaxed);
    idle.push_back(&self);
    mutex.unlock();
    const Clock::time_point deadline = timeAfter(idleLife);
    while (self.woken.load(std::memory_order_relaxed) == 0 && futexWait(&self.woken, 0, deadline))
        ;
    mutex.lock();
    if (self.woken.load(std::memory_order_relaxed) != 0)
        return true;
    std::erase(idle, &self);
    return false;
}

void ThreadPool::unmark(Worker &worker) noexcept {
    if (std::exchange(worker.isBlocked, false))
        --blocked;
}

bool ThreadPool::enterBlocking() noexcept {
    auto *self = static_cast<Worker *>(workerOfThread);
    if (self == nullptr || isForkedChild())
        return false;
    Dispatch dispatch;
    {
        const AdaptiveMutexLock lock(mutex);
        if (std::exchange(self->isBlocked, true))
            return false;
        ++blocked;
        dispatch = planDispatch();
    }
    perform(dispatch);
    return true;
}

void ThreadPool::leaveBlocking() noexcept {
    if (isForkedChild())
        return;
    const AdaptiveMutexLock lock(mutex);
    unmark(*static_cast<Worker *>(workerOfThread));
}

bool ThreadPool::tick() {
    Dispatch dispatch;
    {
        const AdaptiveMutexLock lock(mutex);
        if (items.empty()) {
            if (++quietTicks < maxQuietTicks)
                return true;
            quietTicks = 0;
            isTicking = false;
            return false;
        }
        quietTicks = 0;
        const std::uint64_t startedBefore = std::exchange(startedAtLastTick, started);
        stalledTicks = started == startedBefore ? stalledTicks + 1 : 0;
        // Whether the first in line was in line at the last tick.
        const bool isOverdue = started < std::exchange(submittedAtLastTick, started + items.size());
        if (!isOverdue)
            return true;
        if (active() >= width && workerCount < maxWorkers + idle.size())
            findBlocked(startedBefore);
        const bool isStalled = stalledTicks >= maxStalledTicks;
        if (isStalled)
            stalledTicks = 0;
        dispatch = planDispatch(isStalled);
    }
    perform(dispatch);
    return true;
}

// Marks the active workers that sleep in one of the items up to `newest`. A worker that sleeps in a younger
// item may only have met a lock for an instant. Stops as soon as enough are known to run.
void ThreadPool::findBlocked(std::uint64_t newest) {
    struct Suspect {
        std::uint64_t item;
        pid_t thread;
    };
    std::array<Suspect, 64> suspects;
    std::size_t count = 0;
    for (const Worker *worker : workers) {
        const std::uint64_t item = worker->item.load(std::memory_order_relaxed);
        if (item != 0 && item <= newest && !worker->isBlocked && count < suspects.size())
            suspects[count++] = {item, worker->thread};
    }
    mutex.unlock(); // reading takes time, and a worker that waits for the mutex would look asleep
    std::size_t running = 0, asleep = 0;
    for (std::size_t i = 0; i < count && running < width; ++i) {
        if (isAsleep(suspects[i].thread))
            suspects[asleep++] = suspects[i];
        else
            ++running;
    }
    mutex.lock();
    for (Worker *worker : workers) {
        const std::uint64_t item = worker->item.load(std::memory_order_relaxed);
        const bool isSame =
            std::any_of(suspects.begin(), suspects.begin() + static_cast<std::ptrdiff_t>(asleep),
                        [item](const Suspect &each) { return each.item == item; });
        if (isSame && !std::exchange(worker->isBlocked, true))
            ++blocked;
    }
}

BlockingRegion::BlockingRegion() noexcept
    : entered(workerOfThread != nullptr && ThreadPool::shared().enterBlocking()) {
}

BlockingRegion::~BlockingRegion() {
    if (entered)
        ThreadPool::shared().leaveBlocking();
}

} // namespace wickerlane

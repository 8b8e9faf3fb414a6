#include "wickerlane/platform/queue/ThreadPool.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "wickerlane/platform/queue/BlockingRegion.h"
#include "wickerlane/platform/queue/Futex.h"
#include "wickerlane/platform/queue/RunItem.h"
#include "wickerlane/platform/queue/Thread.h"
#include "wickerlane/platform/queue/Timer.h"

namespace wickerlane {
namespace {

constexpr std::size_t mostWorkers = 2048; // far from the kernel's limits, and beyond any sensible use
constexpr std::chrono::seconds idleLife{5};
constexpr std::chrono::milliseconds tickLength{1};
constexpr unsigned standstill = 100; // ticks without a beginning after which one worker more begins
constexpr unsigned quietEnd = 16;    // ticks without a waiting item after which the ticking ends
// Looks at the queue before a worker sleeps. Each gives way to whoever else wants the processor, so that
// looking costs little where there is only one; together they last about as long as a sleep and a wake.
constexpr int looks = 20;

std::size_t processorCount() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) != 0)
        return 1;
    return static_cast<std::size_t>(CPU_COUNT(&set));
}

// Whether the kernel has the thread sleeping, rather than running or waiting for a processor.
bool isAsleep(pid_t thread) {
    std::array<char, 64> path{}, text{};
    std::snprintf(path.data(), path.size(), "/proc/self/task/%d/stat", thread);
    const int file = open(path.data(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return true;
    const ssize_t length = read(file, text.data(), text.size() - 1);
    close(file);
    // "number (name) state ...", where our names hold no parenthesis but an application may have renamed the
    // thread.
    const char *end = length > 0 ? std::strrchr(text.data(), ')') : nullptr;
    return end == nullptr || end[1] == '\0' || end[2] != 'R';
}

thread_local constinit void *workerOfThread = nullptr;

} // namespace

ThreadPool &ThreadPool::shared() {
    static ThreadPool &pool = *new ThreadPool;
    return pool;
}

ThreadPool::ThreadPool() : width(std::max<std::size_t>(2, processorCount())) {
}

void ThreadPool::submit(WorkQueue::Work work) {
    submit({&work, 1});
}

void ThreadPool::submit(std::span<WorkQueue::Work> batch) {
    Call call;
    {
        std::lock_guard guard(lock);
        for (WorkQueue::Work &work : batch)
            if (work)
                items.push_back(std::move(work));
        waiting.store(items.size(), std::memory_order_relaxed);
        call = callForWork();
    }
    place(call);
}

// Decides who will take the first waiting item, unless somebody is on the way to it. Whenever items wait, a
// worker is looking or the tick goes on.
ThreadPool::Call ThreadPool::callForWork(bool beyondWidth) {
    Call call;
    if (items.empty() || looking > 0)
        return call;
    if (active() < width || beyondWidth) {
        if (!idle.empty()) {
            call.sleeper = idle.back();
            idle.pop_back();
            call.sleeper->woken.store(1, std::memory_order_relaxed);
            ++looking;
            return call;
        }
        if (workers < mostWorkers) {
            call.newThread = true;
            ++workers;
            ++looking;
            return call;
        }
    }
    call.monitor = !std::exchange(monitored, true);
    return call;
}

void ThreadPool::place(const Call &call) noexcept {
    bool monitor = call.monitor;
    if (call.sleeper != nullptr)
        futexWake(&call.sleeper->woken, 1);
    if (call.newThread &&
        !startThread(
            "wl-worker", [](void *pool) { static_cast<ThreadPool *>(pool)->work(); }, this)) {
        // The system is short of threads: the item waits for a worker that is there, or for the tick to try
        // again.
        std::lock_guard guard(lock);
        --workers;
        --looking;
        monitor = !std::exchange(monitored, true);
    }
    if (monitor)
        Timer::shared().startTicking(tickLength, [] { return shared().tick(); });
}

void ThreadPool::work() noexcept {
    Worker self;
    self.thread = gettid();
    workerOfThread = &self;
    std::unique_lock guard(lock);
    present.push_back(&self);
    for (;;) { // here this worker counts as looking
        if (items.empty()) {
            guard.unlock();
            lookAround();
            guard.lock();
            if (items.empty() && !sleep(self, guard))
                break;
            continue;
        }
        WorkQueue::Work work = std::move(items.front());
        items.pop_front();
        waiting.store(items.size(), std::memory_order_relaxed);
        --looking;
        self.item.store(++begun, std::memory_order_relaxed);
        const Call call = callForWork();
        guard.unlock();
        place(call);
        runItem(std::move(work));
        self.item.store(0, std::memory_order_relaxed);
        guard.lock();
        unmark(self);
        ++looking;
    }
    std::erase(present, &self);
    --workers;
    guard.unlock();
    workerOfThread = nullptr;
}

void ThreadPool::lookAround() const noexcept {
    for (int look = 0; look < looks && waiting.load(std::memory_order_relaxed) == 0; ++look)
        sched_yield();
}

// Returns, looking again, when an item came; false when none did for long enough to end the thread.
bool ThreadPool::sleep(Worker &self, std::unique_lock<Lock> &guard) {
    --looking;
    self.woken.store(0, std::memory_order_relaxed);
    idle.push_back(&self);
    guard.unlock();
    const Clock::time_point deadline = timeAfter(idleLife);
    while (self.woken.load(std::memory_order_relaxed) == 0 && futexWait(&self.woken, 0, deadline))
        ;
    guard.lock();
    if (self.woken.load(std::memory_order_relaxed) != 0)
        return true;
    std::erase(idle, &self);
    return false;
}

void ThreadPool::unmark(Worker &worker) noexcept {
    if (std::exchange(worker.blocked, false))
        --blocked;
}

bool ThreadPool::enterBlocking() noexcept {
    auto *self = static_cast<Worker *>(workerOfThread);
    if (self == nullptr)
        return false;
    Call call;
    {
        std::lock_guard guard(lock);
        if (std::exchange(self->blocked, true))
            return false;
        ++blocked;
        call = callForWork();
    }
    place(call);
    return true;
}

void ThreadPool::leaveBlocking() noexcept {
    std::lock_guard guard(lock);
    unmark(*static_cast<Worker *>(workerOfThread));
}

bool ThreadPool::tick() {
    Call call;
    {
        std::unique_lock guard(lock);
        if (items.empty()) {
            if (++quietTicks < quietEnd)
                return true;
            quietTicks = 0;
            monitored = false;
            return false;
        }
        quietTicks = 0;
        standingTicks = begun == begunBefore ? standingTicks + 1 : 0;
        const std::uint64_t begunByLastTick = begunBefore;
        const bool overdue = begun < submittedBefore; // the first in line was in line at the last tick
        begunBefore = begun;
        submittedBefore = begun + items.size();
        if (!overdue)
            return true;
        if (active() >= width && workers < mostWorkers + idle.size())
            findBlocked(guard, begunByLastTick);
        const bool standing = standingTicks >= standstill;
        if (standing)
            standingTicks = 0;
        call = callForWork(standing);
    }
    place(call);
    return true;
}

// Marks the active workers that sleep in one of the items up to `newest`. A worker that sleeps in a younger
// item may only have met a lock for an instant. Stops as soon as enough are known to run.
void ThreadPool::findBlocked(std::unique_lock<Lock> &guard, std::uint64_t newest) {
    struct Suspect {
        std::uint64_t item;
        pid_t thread;
    };
    std::array<Suspect, 64> suspects;
    std::size_t count = 0;
    for (const Worker *worker : present) {
        const std::uint64_t item = worker->item.load(std::memory_order_relaxed);
        if (item != 0 && item <= newest && !worker->blocked && count < suspects.size())
            suspects[count++] = {item, worker->thread};
    }
    guard.unlock(); // reading takes time, and a worker that waits for the lock would look asleep
    std::size_t running = 0, asleep = 0;
    for (std::size_t i = 0; i < count && running < width; ++i) {
        if (isAsleep(suspects[i].thread))
            suspects[asleep++] = suspects[i];
        else
            ++running;
    }
    guard.lock();
    for (Worker *worker : present) {
        const std::uint64_t item = worker->item.load(std::memory_order_relaxed);
        const bool same =
            std::any_of(suspects.begin(), suspects.begin() + static_cast<std::ptrdiff_t>(asleep),
                        [item](const Suspect &each) { return each.item == item; });
        if (same && !std::exchange(worker->blocked, true))
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

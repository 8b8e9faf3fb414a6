#include "wickerlane/platform/queue/Timer.h"

#include <algorithm>

#include "wickerlane/platform/queue/AfterFork.h"
#include "wickerlane/platform/queue/Thread.h"

namespace wickerlane {
namespace {

constexpr auto laterFirst = [](const auto &a, const auto &b) { return a.isLaterThan(b); };

} // namespace

Timer &Timer::shared() {
    static NeverDestroyed<Timer> timer;
    return *timer;
}

bool Timer::start() noexcept {
    if (isForkedChild())
        return false;
    const MutexLock lock(mutex);
    return startThreadOnce();
}

bool Timer::startThreadOnce() noexcept {
    if (!hasThread)
        hasThread = startThread(
            "wl-timer", [](void *timer) { static_cast<Timer *>(timer)->run(); }, this);
    return hasThread;
}

void Timer::submitAt(Clock::time_point due, Ref<WorkQueue> queue, WorkQueue::Work work) {
    if (isForkedChild())
        return reportForkedChild();
    const MutexLock lock(mutex);
    const bool first = entries.empty() || due < entries.front().due;
    entries.push_back({due, ++lastNumber, std::move(queue), std::move(work)});
    std::push_heap(entries.begin(), entries.end(), laterFirst);
    startThreadOnce();
    if (first)
        changed.notifyOne();
}

void Timer::startTicking(Clock::duration length, bool (*added)()) {
    const MutexLock lock(mutex);
    tick = added;
    tickLength = length;
    nextTick = Clock::now() + length;
    startThreadOnce();
    changed.notifyOne();
}

Timer::Entry Timer::popFirst() {
    std::pop_heap(entries.begin(), entries.end(), laterFirst);
    Entry first = std::move(entries.back());
    entries.pop_back();
    return first;
}

void Timer::run() noexcept {
    MutexLock lock(mutex);
    for (;;) {
        const Clock::time_point now = Clock::now();
        if (tick != nullptr && nextTick <= now) {
            bool (*const due)() = std::exchange(tick, nullptr);
            lock.unlock();
            const bool again = due();
            lock.lock();
            // Unless it was started again meanwhile.
            if (again && tick == nullptr) {
                tick = due;
                nextTick = Clock::now() + tickLength;
            }
        } else if (!entries.empty() && entries.front().due <= now) {
            Entry entry = popFirst();
            lock.unlock();
            entry.queue->async(std::move(entry.work));
            entry.queue = nullptr; // whose last reference this may be
            lock.lock();
        } else {
            Clock::time_point wake = Clock::time_point::max();
            if (!entries.empty())
                wake = entries.front().due;
            if (tick != nullptr)
                wake = std::min(wake, nextTick);
            if (wake == Clock::time_point::max())
                changed.wait(mutex);
            else
                changed.waitUntil(mutex, wake);
        }
    }
}

} // namespace wickerlane

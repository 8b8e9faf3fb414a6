// Delayed work.
#ifndef WICKERLANE_PLATFORM_QUEUE_TIMER_H
#define WICKERLANE_PLATFORM_QUEUE_TIMER_H

#include <vector>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/Futex.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// One thread, started with the first use, that submits delayed items when they are due, and ticks for the
/// worker pool. When the system has no thread left, the next use tries again, and what is due waits.
class Timer {
public:
    [[nodiscard]] static Timer &shared();

    /// Starts the thread unless it runs. False when the system has none left.
    [[nodiscard]] bool start() noexcept WL_EXCLUDES(mutex);
    void submitAt(Clock::time_point due, Ref<WorkQueue> queue, WorkQueue::Work work) WL_EXCLUDES(mutex);
    /// Calls `tick` on the timer's thread again and again until it returns false.
    void startTicking(Clock::duration length, bool (*tick)()) WL_EXCLUDES(mutex);

private:
    friend class NeverDestroyed<Timer>;
    struct Entry {
        Clock::time_point due;
        std::uint64_t number; // of entries that are due at once the elder goes first
        Ref<WorkQueue> queue;
        WorkQueue::Work work;
        [[nodiscard]] bool isLaterThan(const Entry &other) const noexcept {
            return due != other.due ? due > other.due : number > other.number;
        }
    };

    Timer() = default;
    bool startThreadOnce() noexcept WL_REQUIRES(mutex);
    void run() noexcept;
    Entry popFirst() WL_REQUIRES(mutex);

    Mutex mutex;
    bool hasThread WL_GUARDED_BY(mutex) = false;
    Condition changed;
    std::vector<Entry> entries WL_GUARDED_BY(mutex); // a heap, the first due at its front
    std::uint64_t lastNumber WL_GUARDED_BY(mutex) = 0;
    bool (*tick)() WL_GUARDED_BY(mutex) = nullptr;
    Clock::duration tickLength WL_GUARDED_BY(mutex){};
    Clock::time_point nextTick WL_GUARDED_BY(mutex);
};

} // namespace wickerlane

#endif

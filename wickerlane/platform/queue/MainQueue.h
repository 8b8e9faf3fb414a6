// The queue of the main thread.
#ifndef WICKERLANE_PLATFORM_QUEUE_MAINQUEUE_H
#define WICKERLANE_PLATFORM_QUEUE_MAINQUEUE_H

#include <deque>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// The main queue. Its descriptor is made when first asked for, and is readable exactly while there are
/// items.
class MainQueue final : public WorkQueue {
public:
    [[nodiscard]] static MainQueue &shared();

    [[nodiscard]] const char *label() const noexcept override { return "main"; }
    void async(Work work) override;
    void asyncBatch(std::span<Work> batch) override;

    [[nodiscard]] bool isServedByThisThread() const noexcept;
    [[nodiscard]] int descriptor();
    void run();
    void stop();
    std::size_t drain();

private:
    friend class NeverDestroyed<MainQueue>;
    MainQueue();
    [[nodiscard]] Work popFirst() WL_REQUIRES(mutex);
    void updateEvent() noexcept WL_REQUIRES(mutex);

    std::atomic<int> thread{0}; // that serves the queue; 0 until one does
    Mutex mutex;
    Condition changed;
    std::deque<Work> items WL_GUARDED_BY(mutex);
    int event WL_GUARDED_BY(mutex) = -1;
    bool readable WL_GUARDED_BY(mutex) = false;
    bool stopping WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane

#endif

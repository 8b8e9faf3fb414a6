// The queue of the main thread.
#ifndef WICKERLANE_PLATFORM_QUEUE_MAINQUEUE_H
#define WICKERLANE_PLATFORM_QUEUE_MAINQUEUE_H

#include <condition_variable>
#include <deque>
#include <mutex>

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
    [[nodiscard]] Work take();
    void updateEvent() noexcept;

    std::atomic<int> thread{0}; // that serves the queue; 0 until one does
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Work> items;
    int event = -1;
    bool readable = false;
    bool stopping = false;
};

} // namespace wickerlane

#endif

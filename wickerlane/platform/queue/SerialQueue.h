// Queues that run one item at a time.
#ifndef WICKERLANE_PLATFORM_QUEUE_SERIALQUEUE_H
#define WICKERLANE_PLATFORM_QUEUE_SERIALQUEUE_H

#include <string>
#include <vector>

#include "wickerlane/platform/queue/AdaptiveMutex.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// A serial queue. While it has items, one turn of it waits in the worker pool or runs.
class SerialQueue final : public WorkQueue {
public:
    explicit SerialQueue(const char *label);
    [[nodiscard]] const char *label() const noexcept override { return name.c_str(); }
    void async(Work work) override;
    void asyncBatch(std::span<Work> batch) override;

private:
    void runTurn();

    const std::string name;
    const Work turnWork; // made once, so that submitting a turn allocates nothing
    AdaptiveMutex mutex;
    std::vector<Work> pending WL_GUARDED_BY(mutex);
    bool scheduled WL_GUARDED_BY(mutex) = false;
    std::vector<Work> running; // belongs to the turn that runs
};

} // namespace wickerlane

#endif

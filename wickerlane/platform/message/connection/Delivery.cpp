#include "wickerlane/platform/message/connection/Delivery.h"

#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/platform/queue/RunItem.h"
#include "wickerlane/platform/queue/ServiceThreads.h"

namespace wickerlane {

void deliver(std::vector<Delivery> deliveries) {
    std::vector<WorkQueue::Work> batch;
    batch.reserve(deliveries.size());
    for (std::size_t first = 0; first < deliveries.size();) {
        const Ref<WorkQueue> queue = deliveries[first].queue;
        std::size_t next = first;
        batch.clear();
        for (; next < deliveries.size() && deliveries[next].queue == queue; ++next)
            batch.emplace_back(
                [handler = std::move(deliveries[next].handler), value = std::move(deliveries[next].value),
                 held = std::move(deliveries[next].heldWhileRunning)] { handler(value.get()); });
        if (!isForkedChild() && (queue == WorkQueue::main() || startWorker()))
            queue->asyncBatch(batch);
        else
            for (WorkQueue::Work &work : batch)
                runItem(std::move(work));
        first = next;
    }
}

} // namespace wickerlane

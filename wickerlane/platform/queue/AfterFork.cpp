#include "wickerlane/platform/queue/AfterFork.h"

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/queue/RunItem.h"

namespace wickerlane {

void reportForkedChild() {
    static constinit std::atomic<std::uint32_t> reportedIn{0};
    if (reportedIn.exchange(forkGeneration(), std::memory_order_relaxed) != forkGeneration())
        consoleLog("%s", forkedChildText);
}

void runAfterFork(std::span<WorkQueue::Work> batch) {
    reportForkedChild();
    for (WorkQueue::Work &work : batch)
        if (work)
            runItem(std::move(work));
}

} // namespace wickerlane

#include "wickerlane/platform/queue/SerialQueue.h"

#include "wickerlane/platform/queue/AfterFork.h"
#include "wickerlane/platform/queue/RunItem.h"
#include "wickerlane/platform/queue/ThreadPool.h"

namespace wickerlane {
namespace {

constexpr std::size_t turnLimit = 256;      // items after which a busy queue lets others have its worker
constexpr std::size_t capacityLimit = 4096; // items for which room is kept after a rush

} // namespace

SerialQueue::SerialQueue(const char *label)
    : name(label != nullptr ? label : ""), turnWork([this] { runTurn(); }) {
}

void SerialQueue::async(Work work) {
    asyncBatch({&work, 1});
}

void SerialQueue::asyncBatch(std::span<Work> batch) {
    if (isForkedChild())
        return runAfterFork(batch);
    {
        const AdaptiveMutexLock lock(mutex);
        for (Work &work : batch)
            if (work)
                pending.push_back(std::move(work));
        if (pending.empty() || std::exchange(scheduled, true))
            return;
    }
    retain(); // until a turn finds nothing left to do
    ThreadPool::shared().submit(turnWork);
}

void SerialQueue::runTurn() {
    for (std::size_t ran = 0; ran < turnLimit; ran += running.size()) {
        running.clear();
        if (running.capacity() > capacityLimit)
            running.shrink_to_fit();
        bool isOver = false;
        {
            const AdaptiveMutexLock lock(mutex);
            std::swap(running, pending);
            isOver = running.empty();
            if (isOver)
                scheduled = false; // from here on `running` may be another turn's
        }
        if (isOver) {
            release();
            return;
        }
        for (Work &work : running) {
            runItem(std::move(work));
            if (isForkedChild())
                return; // the rest is the parent's
        }
    }
    ThreadPool::shared().submit(turnWork);
}

} // namespace wickerlane

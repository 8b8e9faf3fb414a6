#include "wickerlane/platform/queue/WorkQueue.h"

#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/Futex.h"
#include "wickerlane/platform/queue/MainQueue.h"
#include "wickerlane/platform/queue/RunItem.h"
#include "wickerlane/platform/queue/SerialQueue.h"
#include "wickerlane/platform/queue/ThreadPool.h"
#include "wickerlane/platform/queue/Timer.h"

namespace wickerlane {

constinit const Class WorkQueue::classInfo{"WorkQueue", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(WorkQueue);

namespace {

class GlobalQueue final : public WorkQueue {
public:
    [[nodiscard]] const char *label() const noexcept override { return "global"; }
    void async(Work work) override { pool.submit(std::move(work)); }
    void asyncBatch(std::span<Work> batch) override { pool.submit(batch); }

private:
    ThreadPool &pool = ThreadPool::shared();
};

} // namespace

WorkQueue *WorkQueue::global() {
    static NeverDestroyed<GlobalQueue> queue;
    return &*queue;
}

WorkQueue *WorkQueue::main() {
    return &MainQueue::shared();
}

Ref<WorkQueue> WorkQueue::create(const char *label) {
    return makeRef<SerialQueue>(label);
}

void WorkQueue::sync(Work work) {
    if (!work)
        return;
    if (this == global() || (this == main() && MainQueue::shared().isServedByThisThread()))
        return runItem(std::move(work));
    const Ref<Semaphore> done = Semaphore::create(0);
    async([work = std::move(work), done]() mutable {
        runItem(std::move(work)); // here, so that all of it is over when sync() returns
        done->signal();
    });
    done->wait();
}

void WorkQueue::after(std::chrono::nanoseconds delay, Work work) {
    if (work)
        Timer::shared().submitAt(timeAfter(delay), this, std::move(work));
}

void WorkQueue::runMain() {
    MainQueue::shared().run();
}

void WorkQueue::stopMain() {
    MainQueue::shared().stop();
}

std::size_t WorkQueue::drainMain() {
    return MainQueue::shared().drain();
}

int WorkQueue::mainDescriptor() {
    return MainQueue::shared().descriptor();
}

} // namespace wickerlane

#include "wickerlane/platform/queue/MainQueue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include "wickerlane/platform/queue/AfterFork.h"
#include "wickerlane/platform/queue/RunItem.h"

namespace wickerlane {

MainQueue::MainQueue() {
    refuseForkedChildren();
}

MainQueue &MainQueue::shared() {
    static NeverDestroyed<MainQueue> queue;
    return *queue;
}

bool MainQueue::isServedByThisThread() const noexcept {
    const int serving = thread.load(std::memory_order_relaxed);
    return gettid() == (serving != 0 ? serving : getpid());
}

int MainQueue::descriptor() {
    if (isForkedChild())
        return -1;
    const MutexLock lock(mutex);
    if (event < 0) {
        event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        updateEvent();
    }
    return event;
}

void MainQueue::updateEvent() noexcept {
    if (event < 0 || readable == !items.empty())
        return;
    readable = !readable;
    eventfd_t ignored = 0;
    if (readable)
        eventfd_write(event, 1);
    else
        eventfd_read(event, &ignored);
}

void MainQueue::async(Work work) {
    asyncBatch({&work, 1});
}

void MainQueue::asyncBatch(std::span<Work> batch) {
    if (isForkedChild())
        return runAfterFork(batch);
    {
        const MutexLock lock(mutex);
        for (Work &work : batch)
            if (work)
                items.push_back(std::move(work));
        updateEvent();
    }
    changed.notifyOne();
}

WorkQueue::Work MainQueue::popFirst() {
    if (items.empty())
        return nullptr;
    Work first = std::move(items.front());
    items.pop_front();
    updateEvent();
    return first;
}

void MainQueue::run() {
    if (isForkedChild())
        return reportForkedChild();
    thread.store(gettid(), std::memory_order_relaxed);
    MutexLock lock(mutex);
    while (!std::exchange(stopping, false)) {
        if (Work work = popFirst()) {
            lock.unlock();
            runItem(std::move(work));
            if (isForkedChild())
                return;
            lock.lock();
        } else {
            changed.wait(mutex);
        }
    }
}

void MainQueue::stop() {
    if (isForkedChild())
        return;
    {
        const MutexLock lock(mutex);
        stopping = true;
    }
    changed.notifyOne();
}

std::size_t MainQueue::drain() {
    if (isForkedChild()) {
        reportForkedChild();
        return 0;
    }
    thread.store(gettid(), std::memory_order_relaxed);
    MutexLock lock(mutex);
    // Only what waits now; an item may drain the queue itself, and leave fewer.
    const std::size_t waiting = items.size();
    std::size_t ran = 0;
    for (; ran < waiting; ++ran) {
        Work work = popFirst();
        if (!work)
            break;
        lock.unlock();
        runItem(std::move(work));
        if (isForkedChild())
            return ran + 1;
        lock.lock();
    }
    return ran;
}

} // namespace wickerlane

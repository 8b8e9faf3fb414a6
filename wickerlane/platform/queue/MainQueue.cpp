#include "wickerlane/platform/queue/MainQueue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include "wickerlane/platform/queue/RunItem.h"

namespace wickerlane {

MainQueue &MainQueue::shared() {
    static MainQueue &queue = *new MainQueue;
    return queue;
}

bool MainQueue::isServedByThisThread() const noexcept {
    const int serving = thread.load(std::memory_order_relaxed);
    return gettid() == (serving != 0 ? serving : getpid());
}

int MainQueue::descriptor() {
    std::lock_guard guard(mutex);
    if (event < 0) {
        event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        updateEvent();
    }
    return event;
}

// Called under the mutex.
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
    {
        std::lock_guard guard(mutex);
        for (Work &work : batch)
            if (work)
                items.push_back(std::move(work));
        updateEvent();
    }
    changed.notify_one();
}

// Called under the mutex.
WorkQueue::Work MainQueue::take() {
    if (items.empty())
        return nullptr;
    Work first = std::move(items.front());
    items.pop_front();
    updateEvent();
    return first;
}

void MainQueue::run() {
    thread.store(gettid(), std::memory_order_relaxed);
    std::unique_lock guard(mutex);
    while (!std::exchange(stopping, false)) {
        if (Work work = take()) {
            guard.unlock();
            runItem(std::move(work));
            guard.lock();
        } else {
            changed.wait(guard);
        }
    }
}

void MainQueue::stop() {
    {
        std::lock_guard guard(mutex);
        stopping = true;
    }
    changed.notify_one();
}

std::size_t MainQueue::drain() {
    thread.store(gettid(), std::memory_order_relaxed);
    std::unique_lock guard(mutex);
    // Only what waits now; an item may drain the queue itself, and leave fewer.
    const std::size_t waiting = items.size();
    std::size_t ran = 0;
    for (; ran < waiting; ++ran) {
        Work work = take();
        if (!work)
            break;
        guard.unlock();
        runItem(std::move(work));
        guard.lock();
    }
    return ran;
}

} // namespace wickerlane

#include "hoardd/service/JobQueue.h"

#include <algorithm>

#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessTransaction.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

// One more than the processors: while one job waits for the disk, the others compute.
JobQueue::JobQueue(std::size_t limit, std::size_t lanes)
    : most(limit), mostRunning(lanes != 0 ? lanes : deviceProcessorCount() + 1) {
}

bool JobQueue::add(std::vector<Job> jobs) {
    std::size_t started = 0;
    {
        const std::lock_guard guard(lock);
        // One place is enough: a request that is itself larger than the queue must not be refused for ever.
        if (closed || unfinished >= most)
            return false;
        for (Job &job : jobs) {
            beginProcessTransaction();
            waiting.push_back(std::move(job));
        }
        unfinished += jobs.size();
        started = std::min(jobs.size(), mostRunning - running);
        running += started;
    }
    start(started);
    return true;
}

void JobQueue::addRest(Job rest) {
    std::size_t started = 0;
    {
        const std::lock_guard guard(lock);
        beginProcessTransaction();
        waiting.push_back(std::move(rest));
        ++unfinished;
        started = running < mostRunning ? 1 : 0;
        running += started;
    }
    start(started);
}

void JobQueue::start(std::size_t lanes) {
    for (std::size_t i = 0; i < lanes; ++i)
        WorkQueue::global()->async([this] { runLane(); });
}

void JobQueue::runLane() {
    std::unique_lock guard(lock);
    while (!waiting.empty()) {
        Job job = std::move(waiting.front());
        waiting.pop_front();
        guard.unlock();
        {
            ReleaseScope scope;
            job();
            job = nullptr; // what it holds goes before the transaction ends
        }
        endProcessTransaction();
        guard.lock();
        --unfinished;
    }
    if (--running == 0)
        emptied.notify_all();
}

void JobQueue::close() {
    std::unique_lock guard(lock);
    closed = true;
    emptied.wait(guard, [this] { return running == 0; });
}

} // namespace wickerlane::hoardd

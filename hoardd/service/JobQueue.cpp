#include "hoardd/service/JobQueue.h"

#include <algorithm>
#include <exception>

#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessTransaction.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

// One more than the processors: while one job waits for the disk, the others compute.
JobQueue::JobQueue(std::size_t maxJobs, std::size_t maxRunning, const char *textWhenFull)
    : textOfFull(textWhenFull != nullptr ? textWhenFull : "too many jobs are waiting; try again later"),
      maxUnfinished(maxJobs), maxLanes(maxRunning != 0 ? maxRunning : deviceProcessorCount() + 1) {
}

Result<> JobQueue::add(std::vector<Job> jobs) {
    std::size_t started = 0;
    {
        const MutexLock lock(mutex);
        // One place is enough: a request that is itself larger than the queue must not be refused for ever.
        if (isClosed || unfinished >= maxUnfinished)
            return fail(ProblemKind::queueFull, textOfFull);
        for (Job &job : jobs)
            enqueue(std::move(job));
        started = std::min(jobs.size(), maxLanes - lanesRunning);
        lanesRunning += started;
    }
    start(started);
    return {};
}

void JobQueue::addRest(Job rest) {
    std::size_t started = 0;
    {
        const MutexLock lock(mutex);
        enqueue(std::move(rest));
        started = lanesRunning < maxLanes ? 1 : 0;
        lanesRunning += started;
    }
    start(started);
}

void JobQueue::enqueue(Job job) {
    beginProcessTransaction();
    waiting.push_back(std::move(job));
    ++unfinished;
}

void JobQueue::start(std::size_t lanes) {
    for (std::size_t i = 0; i < lanes; ++i)
        WorkQueue::global()->async([this] { runLane(); });
}

void JobQueue::runLane() {
    MutexLock lock(mutex);
    while (!waiting.empty()) {
        Job job = std::move(waiting.front());
        waiting.pop_front();
        lock.unlock();
        {
            ReleaseScope scope;
            try {
                job();
            } catch (const std::exception &failure) {
                JX_LOG(JXLogLevelError, JXGenericLog, "a job failed: %s", failure.what());
            }
            job = nullptr; // what it holds goes before the transaction ends
        }
        endProcessTransaction();
        lock.lock();
        --unfinished;
    }
    if (--lanesRunning == 0)
        emptied.notifyAll();
}

void JobQueue::close() {
    const MutexLock lock(mutex);
    isClosed = true;
    while (lanesRunning != 0)
        emptied.wait(mutex);
}

} // namespace wickerlane::hoardd

#include "hoardd/service/JobQueue.h"

#include <algorithm>
#include <exception>

#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessTransaction.h"
#include "wickerlane/platform/queue/BlockingRegion.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

// One more than the processors: while one job waits for the disk, the others compute.
JobQueue::JobQueue(std::size_t maxJobs, std::size_t maxRunning, const char *textWhenFull)
    : textOfFull(textWhenFull != nullptr ? textWhenFull : "too many jobs are waiting; try again later"),
      maxUnfinished(maxJobs), maxLanes(maxRunning != 0 ? maxRunning : deviceProcessorCount() + 1) {
}

Result<> JobQueue::add(pid_t client, std::vector<Job> jobs, bool mayRefuse, Place place) {
    std::size_t started = 0;
    {
        const MutexLock lock(mutex);
        // One place is enough: a request that is itself larger than the queue must not be refused for ever.
        const auto line = lines.find(client);
        const std::size_t unfinished = line != lines.end() ? line->second.unfinished : 0;
        if (isClosed || (mayRefuse && unfinished >= maxUnfinished))
            return fail(ProblemKind::queueFull, textOfFull);
        for (Job &job : jobs)
            enqueue(client, std::move(job), place);
        started = lanesToStart(jobs.size());
    }
    start(started);
    return {};
}

void JobQueue::addRest(pid_t client, Job rest) {
    std::size_t started = 0;
    {
        const MutexLock lock(mutex);
        enqueue(client, std::move(rest), Place::last);
        started = lanesToStart(1);
    }
    start(started);
}

void JobQueue::enqueue(pid_t client, Job job, Place place) {
    beginProcessTransaction();
    Line &line = lines[client];
    if (line.waiting.empty())
        turns.push_back(client);
    line.waiting.insert(place == Place::first ? line.waiting.begin() : line.waiting.end(), std::move(job));
    ++line.unfinished;
}

std::size_t JobQueue::lanesToStart(std::size_t jobs) {
    const std::size_t started = std::min(jobs, maxLanes - lanesRunning);
    lanesRunning += started;
    return started;
}

void JobQueue::start(std::size_t lanes) {
    for (std::size_t i = 0; i < lanes; ++i)
        WorkQueue::global()->async([this] { runLane(); });
}

void JobQueue::runLane() {
    MutexLock lock(mutex);
    while (!turns.empty()) {
        const pid_t client = turns.front();
        turns.pop_front();
        std::deque<Job> &waiting = lines[client].waiting;
        Job job = std::move(waiting.front());
        waiting.pop_front();
        if (!waiting.empty())
            turns.push_back(client);
        lock.unlock();
        {
            const ReleaseScope scope;
            const BlockingRegion region; // what is quick gets another thread at once
            try {
                job();
            } catch (const std::exception &failure) {
                JX_LOG(JXLogLevelError, JXGenericLog, "a job failed: %s", failure.what());
            }
            job = nullptr; // what it holds goes before the transaction ends
        }
        endProcessTransaction();
        lock.lock();
        if (--lines[client].unfinished == 0)
            lines.erase(client);
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

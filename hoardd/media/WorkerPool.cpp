#include "hoardd/media/WorkerPool.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

namespace wickerlane::hoardd::media {

namespace {

// After this many failed starts in a row all that wait fail; each later request makes one more attempt.
constexpr unsigned maxFailures = 3;

} // namespace

WorkerPool::WorkerPool(Settings wanted) : settings(std::move(wanted)), starter([this] { startWorkers(); }) {
}

WorkerPool::~WorkerPool() {
    {
        const MutexLock lock(mutex);
        isEnding = true;
    }
    needed.notifyAll();
    starter.join();
}

Result<std::unique_ptr<WorkerProcess>> WorkerPool::borrow() {
    const int niceness = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
    for (;;) {
        auto worker = borrowAny();
        if (!worker || (*worker)->runAt(niceness))
            return worker;
        // It has worked for a thread of lower priority, and may not come back: a new one takes its place.
        retire(*std::move(worker));
    }
}

Result<std::unique_ptr<WorkerProcess>> WorkerPool::borrowAny() {
    MutexLock lock(mutex);
    ++waiting;
    failures = std::min(failures, maxFailures - 1);
    if (needsWorker())
        needed.notifyOne();
    while (idle.empty() && failures < maxFailures)
        changed.wait(mutex);
    --waiting;
    if (idle.empty())
        return fail(ProblemKind::failed, problem);
    std::unique_ptr<WorkerProcess> worker = std::move(idle.back());
    idle.pop_back();
    return worker;
}

void WorkerPool::giveBack(std::unique_ptr<WorkerProcess> worker) {
    std::unique_ptr<WorkerProcess> spent;
    {
        const MutexLock lock(mutex);
        if (worker->isUsable() && worker->requests() < settings.requestsPerWorker) {
            idle.push_back(std::move(worker));
        } else {
            std::erase(processes, worker->processID());
            spent = std::move(worker);
            if (needsWorker())
                needed.notifyOne();
        }
    }
    changed.notifyOne();
}

void WorkerPool::retire(std::unique_ptr<WorkerProcess> worker) {
    {
        const MutexLock lock(mutex);
        std::erase(processes, worker->processID());
        if (needsWorker())
            needed.notifyOne();
    }
}

WorkerPool::Status WorkerPool::status() const {
    const MutexLock lock(mutex);
    const auto idleCount = static_cast<unsigned>(idle.size());
    return {idleCount, static_cast<unsigned>(processes.size()) - idleCount, started, processes, lastHello,
            problem};
}

bool WorkerPool::needsWorker() const {
    const auto busy = processes.size() - idle.size();
    return failures < maxFailures &&
           processes.size() <
               std::min<std::size_t>(settings.maxWorkers,
                                     std::max<std::size_t>(settings.minWorkers, busy + waiting));
}

void WorkerPool::startWorkers() {
    MutexLock lock(mutex);
    for (;;) {
        while (!isEnding && !needsWorker())
            needed.wait(mutex);
        if (isEnding)
            return;
        lock.unlock();
        Result<std::unique_ptr<WorkerProcess>> worker = WorkerProcess::start(settings.program, settings.mode);
        lock.lock();
        if (worker) {
            failures = 0;
            problem.clear();
            ++started;
            lastHello = (*worker)->hello();
            processes.push_back((*worker)->processID());
            idle.push_back(*std::move(worker));
        } else {
            ++failures;
            problem = worker.error().text;
        }
        changed.notifyAll();
    }
}

} // namespace wickerlane::hoardd::media

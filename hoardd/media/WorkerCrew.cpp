#include "hoardd/media/WorkerCrew.h"

#include <algorithm>

namespace wickerlane::hoardd::media {

namespace {

// After so many failed starts in a row those who wait are told; each later request makes one more attempt.
constexpr unsigned mostFailures = 3;

} // namespace

WorkerCrew::WorkerCrew(Settings wanted) : settings(std::move(wanted)), starter([this] { startWorkers(); }) {
}

WorkerCrew::~WorkerCrew() {
    {
        const std::lock_guard lock(mutex);
        ending = true;
    }
    changed.notify_all();
    starter.join();
}

std::unique_ptr<WorkerProcess> WorkerCrew::borrow(std::string &whyNot) {
    std::unique_lock lock(mutex);
    ++waiting;
    failures = std::min(failures, mostFailures - 1);
    changed.notify_all();
    changed.wait(lock, [&] { return !idle.empty() || failures >= mostFailures; });
    --waiting;
    if (idle.empty()) {
        whyNot = trouble;
        return nullptr;
    }
    std::unique_ptr<WorkerProcess> worker = std::move(idle.back());
    idle.pop_back();
    return worker;
}

void WorkerCrew::giveBack(std::unique_ptr<WorkerProcess> worker) {
    std::unique_ptr<WorkerProcess> spent;
    {
        const std::lock_guard lock(mutex);
        if (worker->isUsable() && worker->requests() < settings.requestsPerWorker) {
            idle.push_back(std::move(worker));
        } else {
            std::erase(processes, worker->processID());
            spent = std::move(worker);
        }
    }
    changed.notify_all();
}

WorkerCrew::Status WorkerCrew::status() const {
    const std::lock_guard lock(mutex);
    const auto idleCount = static_cast<unsigned>(idle.size());
    return {idleCount, static_cast<unsigned>(processes.size()) - idleCount, started, processes, lastHello,
            trouble};
}

bool WorkerCrew::needsWorker() const {
    const auto busy = processes.size() - idle.size();
    return failures < mostFailures &&
           processes.size() <
               std::min<std::size_t>(settings.most, std::max<std::size_t>(settings.ahead, busy + waiting));
}

void WorkerCrew::startWorkers() {
    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [&] { return ending || needsWorker(); });
        if (ending)
            return;
        lock.unlock();
        std::string whyNot;
        std::unique_ptr<WorkerProcess> worker = WorkerProcess::start(settings.program, settings.mode, whyNot);
        lock.lock();
        trouble = whyNot;
        if (worker) {
            failures = 0;
            ++started;
            lastHello = worker->hello();
            processes.push_back(worker->processID());
            idle.push_back(std::move(worker));
        } else {
            ++failures;
        }
        changed.notify_all();
    }
}

} // namespace wickerlane::hoardd::media

// Workers of one mode: started ahead of need, lent to one thread at a time, replaced when they are spent or
// lost.
#ifndef HOARDD_MEDIA_WORKERCREW_H
#define HOARDD_MEDIA_WORKERCREW_H

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "hoardd/media/WorkerProcess.h"

namespace wickerlane::hoardd::media {

class WorkerCrew {
public:
    struct Settings {
        std::string program;
        WorkerProcess::Mode mode = WorkerProcess::Mode::shared;
        unsigned most = 1;              ///< workers at a time
        unsigned ahead = 0;             ///< workers kept when nobody asks
        unsigned requestsPerWorker = 0; ///< then it is replaced
    };

    explicit WorkerCrew(Settings settings);
    /// Every worker must have been given back.
    ~WorkerCrew();

    /// A worker for the caller alone; waits until one is free. Null, with the reason, when none can be
    /// started.
    std::unique_ptr<WorkerProcess> borrow(std::string &whyNot);
    /// Takes a borrowed worker back; one that is of no more use is ended and replaced.
    void giveBack(std::unique_ptr<WorkerProcess> worker);

    struct Status {
        unsigned idle = 0;
        unsigned busy = 0;
        std::uint64_t started = 0; ///< since the crew was made
        std::vector<pid_t> processes;
        Hello hello;         ///< of the worker started last
        std::string trouble; ///< why the last start failed; empty when it did not
    };
    [[nodiscard]] Status status() const;

private:
    [[nodiscard]] bool needsWorker() const;
    void startWorkers();

    const Settings settings;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::unique_ptr<WorkerProcess>> idle;
    std::vector<pid_t> processes; ///< of idle and borrowed workers
    unsigned waiting = 0;
    unsigned failures = 0; ///< starts that failed since one succeeded
    std::uint64_t started = 0;
    Hello lastHello;
    std::string trouble;
    bool ending = false;
    std::thread starter; ///< workers end with the thread that started them, so one thread starts all
};

} // namespace wickerlane::hoardd::media

#endif

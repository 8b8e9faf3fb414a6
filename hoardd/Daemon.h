// The daemon: its library, its service, and when it ends.
#ifndef HOARDD_DAEMON_H
#define HOARDD_DAEMON_H

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "hoardd/library/Library.h"
#include "hoardd/service/Call.h"
#include "hoardd/service/JobQueue.h"
#include "wickerlane/platform/message/listener/MessageListener.h"

namespace wickerlane::hoardd {

/// What travels under "authorized".
enum class AccessStatus : std::int64_t {
    granted = 0,
    denied = 1,   ///< by a decision
    notAsked = 2, ///< nobody has decided yet
};

struct DaemonOptions {
    std::chrono::milliseconds idleTime{30'000}; ///< Without a connection; then the daemon ends. 0: never.
    std::size_t mostJobs = 256;                 ///< Saves that wait or run; further ones are refused.
};

/// One for a process. Thread-safe.
class Daemon {
public:
    explicit Daemon(DaemonOptions options);

    /// Takes the service's name and begins to serve. `ended` is called, on any thread, when the daemon has
    /// been idle. False, with a reason, when the name can't be had.
    [[nodiscard]] bool start(Handler<void()> ended, std::string &problem);
    /// Takes no more requests, and waits for the saves that run and for what is being answered.
    void stop();

    /// The library, which is opened, and made if there is none, when it is first asked for. When that fails,
    /// answers the call with the reason and gives null; the next call tries again.
    [[nodiscard]] Library *library(const Call &call);
    [[nodiscard]] JobQueue &jobs() noexcept { return jobQueue; }
    /// Rebuilds, analyses and repairs: one at a time, so that short requests go on beside them. The handler
    /// adds a job that answers its call; a call whose job is not taken is refused.
    [[nodiscard]] JobQueue &longWork() noexcept { return longJobs; }
    [[nodiscard]] AccessStatus accessOf(const PeerIdentity &peer) const;
    [[nodiscard]] bool isEntitled(const PeerIdentity &peer, const String *entitlement) const;

    /// To be held while a request is served: stop() waits until nobody holds one. Null once it has begun to:
    /// the request is not served then.
    [[nodiscard]] std::shared_ptr<void> noteServing();

private:
    void endServing();

    DaemonOptions settings;
    JobQueue jobQueue;
    JobQueue longJobs{64, 1};
    std::mutex servingLock;
    std::condition_variable served;
    std::size_t serving = 0; // guarded by `servingLock`, as is what follows
    bool stopping = false;
    std::mutex opening;
    std::unique_ptr<Library> opened; // guarded by `opening`; stays once it is there
    Ref<MessageListener> listener;
};

} // namespace wickerlane::hoardd

#endif

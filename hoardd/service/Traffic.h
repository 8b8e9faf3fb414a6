// What travels between applications and hoardd, for a program that watches it.
#ifndef HOARDD_SERVICE_TRAFFIC_H
#define HOARDD_SERVICE_TRAFFIC_H

#include <atomic>
#include <chrono>
#include <vector>

#include "hoardd/service/TrafficEvents.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::hoardd {

/// Keeps what was noted until the watching programs ask for it: some MiB for each at most, and what they are
/// too slow for is dropped and counted. Thread-safe.
class Traffic {
public:
    /// Of this process. Lives forever.
    static Traffic &ofProcess();
    /// Whether any program watches. All that a request costs when none does.
    [[nodiscard]] static bool isWatched() noexcept { return watched.load(std::memory_order_relaxed); }

    struct Noted {
        Ref<Array> events;      ///< Dictionaries with the keys of TrafficKeys.h.
        std::uint64_t lost = 0; ///< How many were dropped.
        bool isBegun = false;   ///< The watch begins with this question: what was before is not known.
    };
    /// What was noted since the program asked last. It watches from its first question on, until it has not
    /// asked for a while. Its own requests are not noted for it. `busy` when too many programs watch.
    [[nodiscard]] Result<Noted> take(const PeerIdentity &program, bool withTexts);

    /// Notes a request, and returns it in a form that notes its answer too; the rest as requestEvent() has
    /// it.
    [[nodiscard]] Ref<ReceivedMessage> note(ReceivedMessage *message, const protocol::Row *row,
                                            bool isAllowed);

    using Clock = std::chrono::steady_clock;

private:
    friend class NotedMessage;
    struct Watcher {
        pid_t process = 0;
        std::uint64_t startTime = 0;
        bool withTexts = false;
        Clock::time_point lastAsked{};
        Ref<MutableArray> events = MutableArray::create();
        std::size_t bytes = 0;
        std::uint64_t lost = 0;
    };
    /// Gives each watcher but the one with this process the event that `make` makes, with texts or without.
    /// It is made without the lock, which requests of others wait for.
    void add(pid_t process, const Handler<TrafficEvent(bool withTexts)> &make);
    void forgetIdle() WL_REQUIRES(mutex);

    static inline std::atomic<bool> watched = false;
    std::atomic<std::uint64_t> requests = 0;
    Mutex mutex;
    std::vector<Watcher> watchers WL_GUARDED_BY(mutex);
};

} // namespace wickerlane::hoardd

#endif

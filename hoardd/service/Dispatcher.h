// Which operation serves which request, and where it runs.
#ifndef HOARDD_SERVICE_DISPATCHER_H
#define HOARDD_SERVICE_DISPATCHER_H

#include <cstddef>
#include <memory>
#include <set>
#include <span>
#include <string_view>
#include <vector>

#include "hoardd/service/Call.h"
#include "hoardd/service/MemoryTrim.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::hoardd {

/// Thread-safe.
class Dispatcher {
public:
    struct Options {
        std::vector<std::span<const Operation>> operations; ///< Of all families.
        std::span<const DroppedOperation> dropped{};
        LibraryFolder *folder = nullptr;                 ///< Borrowed, as the queues are.
        Handler<Result<Library *>()> openLibrary;        ///< The open library, which lives on.
        Handler<Library *()> readyLibrary;               ///< If openLibrary() would not wait, else null.
        Handler<void(const Problem &)> storeIsDamaged{}; ///< Called with what a handler met; may be null.
        JobQueue *jobs = nullptr;
        JobQueue *beside = nullptr; ///< What takes a moment longer than other requests.
        JobQueue *longWork = nullptr;
    };
    explicit Dispatcher(Options chosen);

    /// Serves one request: finds its operation, checks it against the row, checks the peer's access, and runs
    /// the handler where the row says. Each request that wants a reply gets one.
    void dispatch(const Call &call);

    /// Serves a request whose answer is known without any wait, as its operation says; on the thread that
    /// reads requests. False: dispatch() is to serve it.
    [[nodiscard]] bool serveKnown(const Call &call);

    /// What the data under a key of a request weighs, as MessageWeight has it. Any thread.
    [[nodiscard]] std::size_t weightOf(std::string_view key) const;

    /// From now on refuses what comes, and what waits to be read or decoded.
    void end();
    /// Waits until what is being served has been. The queues are closed before.
    void stop();

private:
    [[nodiscard]] Result<const Operation *> find(const Call &call) const;
    [[nodiscard]] bool mayBeKnown(const Call &call) const;
    /// Checks the caller and the request, and runs the handler or puts it into its queue. `held` keeps stop()
    /// waiting.
    [[nodiscard]] Result<> begin(const Operation &operation, const Call &call,
                                 const std::shared_ptr<void> &held);
    void serve(const Operation &operation, Library *library, const Call &call) const;
    /// Serves in the queue of what runs beside others. Answers of these may be large: none is made for a peer
    /// that leaves others unread.
    void serveWhenRead(const Operation &operation, Library *library, const Call &call,
                       const std::shared_ptr<void> &held);
    /// Nothing when the call is answered later.
    [[nodiscard]] Result<std::optional<Answer>> handle(const Operation &operation, Library *library,
                                                       const Call &call) const;
    [[nodiscard]] std::shared_ptr<void> beginServing();
    void endServing();
    [[nodiscard]] bool isEnding();

    const Options options;
    std::set<std::string_view> listKeys; // of requests
    MemoryTrim memory;
    Mutex mutex;
    Condition served;
    std::size_t serving WL_GUARDED_BY(mutex) = 0;
    bool isStopping WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane::hoardd

#endif

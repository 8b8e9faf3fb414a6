// Ending requests before they are answered.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CANCELLATION_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CANCELLATION_H

#include <vector>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

class ConnectionCore;

/// What cancels the requests that belong to it, see CancellationScope. Thread-safe.
///
///     const auto cancellation = Cancellation::create(); // shared with the thread of a "Stop" button
///     const CancellationScope scope(cancellation.get());
///     Data *picture = client->imageDataForAsset(objectID, format);
class WL_EXPORT Cancellation final : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<Cancellation> create();
    ~Cancellation() override;

    /// For good. Requests that wait for their replies end at once with an error of the kind `cancelled`, and
    /// later ones fail with it and are not sent. The service is told, without a wait for it: it does not
    /// begin what it has not begun, and stops long work at its next step. What it has done by then stays, and
    /// a reply that comes is dropped. Messages without reply are not concerned. From any thread, and from
    /// handlers; a second call does nothing, and in a forked child only later requests are concerned.
    void cancel();
    [[nodiscard]] bool isCancelled() const noexcept { return cancelled.load(); }

private:
    friend class ConnectionCore;
    Cancellation();

    /// Has cancel() reach a connection. False when it has been called.
    [[nodiscard]] bool reach(ConnectionCore *connection) WL_EXCLUDES(mutex);

    std::atomic<bool> cancelled{false};
    Mutex mutex;
    std::vector<Ref<ConnectionCore>> connections WL_GUARDED_BY(mutex); // with requests, now or before
};

/// While it lives, the requests that this thread sends belong to a cancellation; to none if it is null. They
/// nest, and the innermost counts.
class WL_EXPORT CancellationScope {
public:
    explicit CancellationScope(Cancellation *cancellation) noexcept;
    ~CancellationScope();
    CancellationScope(const CancellationScope &) = delete;
    CancellationScope &operator=(const CancellationScope &) = delete;

    /// The cancellation of this thread; null for none. The second function replaces it; the caller keeps the
    /// new one alive as long as it is set.
    [[nodiscard]] static Cancellation *ofThread() noexcept;
    static void setOfThread(Cancellation *cancellation) noexcept;

private:
    const Ref<Cancellation> kept;
    Cancellation *const outer;
};

} // namespace wickerlane

#endif

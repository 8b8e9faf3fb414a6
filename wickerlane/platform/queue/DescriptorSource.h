// Watching descriptors.
#ifndef WICKERLANE_PLATFORM_QUEUE_DESCRIPTORSOURCE_H
#define WICKERLANE_PLATFORM_QUEUE_DESCRIPTORSOURCE_H

#include <cstdint>

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// Watches one descriptor on the process's one reader thread, which starts with the first source. The handler
/// runs on that thread, inside a ReleaseScope, and must neither block nor take long: what takes long goes to
/// a queue. A source lives until it is cancelled, even when no one else refers to it. Thread-safe.
class WL_EXPORT DescriptorSource : public Object {
    WL_OBJECT
public:
    /// `descriptor` stays the caller's and stays open until the source is cancelled. `handler` gets the epoll
    /// events that occurred; EPOLLERR also when the kernel refuses to watch the descriptor. Nothing is
    /// watched until arm(). Null, and errno, when the system has no thread or no descriptor left for the
    /// reader thread.
    [[nodiscard]] static Ref<DescriptorSource> create(int descriptor, Handler<void(std::uint32_t)> handler);
    /// Watches for `events` (EPOLLIN, EPOLLOUT, or none; hang-up and errors are always watched) until the
    /// next time the handler is called: sources are one-shot. Replaces what was watched for before, though a
    /// call of the handler that is already on its way still comes. Does nothing once cancelled.
    void arm(std::uint32_t events);
    /// Ends it and releases the handler. When this returns on another thread than the reader's, the handler
    /// runs no more and the descriptor may be closed; called on the reader's thread, from the handler itself,
    /// that holds once the handler has returned. Never called with a lock held that the handler takes.
    void cancel();

private:
    friend class DescriptorReader;
    DescriptorSource(int watched, Handler<void(std::uint32_t)> called)
        : descriptor(watched), handler(std::move(called)) {}

    const int descriptor;
    std::uint64_t number = 0; // among the reader's sources
    Mutex mutex;
    Condition handled;
    Handler<void(std::uint32_t)> handler WL_GUARDED_BY(mutex);
    bool added WL_GUARDED_BY(mutex) = false;
    bool cancelled WL_GUARDED_BY(mutex) = false;
    bool handling WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane

#endif

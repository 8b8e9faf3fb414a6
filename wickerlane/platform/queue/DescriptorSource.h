// Being told when a descriptor is ready.
#ifndef WICKERLANE_PLATFORM_QUEUE_DESCRIPTORSOURCE_H
#define WICKERLANE_PLATFORM_QUEUE_DESCRIPTORSOURCE_H

#include <cstdint>

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// Watches one descriptor on the process's one reader thread, which starts with the first source. The handler
/// runs on that thread, inside a ReleaseScope, and must neither block nor take long: what takes long goes to a
/// queue. Thread-safe.
class WL_EXPORT DescriptorSource : public Object {
    WL_OBJECT
public:
    /// `descriptor` stays the caller's and stays open until the source is cancelled. `handler` gets the epoll
    /// events that occurred. Nothing is watched until arm().
    [[nodiscard]] static Ref<DescriptorSource> create(int descriptor, Handler<void(std::uint32_t)> handler);
    /// Watches for `events` (EPOLLIN, EPOLLOUT; hang-up and errors are always watched) until the next time the
    /// handler is called: sources are one-shot.
    void arm(std::uint32_t events);
    /// Ends it. When this returns on another thread than the reader's, the handler runs no more and the
    /// descriptor may be closed; called from the handler itself, that holds once the handler has returned.
    void cancel();

protected:
    DescriptorSource() = default;
};

} // namespace wickerlane

#endif

// Saying that a thread is about to wait.
#ifndef WICKERLANE_PLATFORM_QUEUE_BLOCKINGREGION_H
#define WICKERLANE_PLATFORM_QUEUE_BLOCKINGREGION_H

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// While it lives, the calling thread counts as blocked: if it is a worker of the global queue, another one
/// takes its place at once, where the queue would otherwise notice only a little later. For waits that
/// usually last. Regions nest. Costs nothing on other threads.
class WL_EXPORT BlockingRegion {
public:
    BlockingRegion() noexcept;
    ~BlockingRegion();
    BlockingRegion(const BlockingRegion &) = delete;
    BlockingRegion &operator=(const BlockingRegion &) = delete;

private:
    bool entered;
};

} // namespace wickerlane

#endif

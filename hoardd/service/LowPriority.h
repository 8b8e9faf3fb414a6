// Work that gives way to all other.
#ifndef HOARDD_SERVICE_LOWPRIORITY_H
#define HOARDD_SERVICE_LOWPRIORITY_H

#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::hoardd {

enum class DiskUse {
    normal, ///< Of work that writes to the store: while it commits, others wait.
    idle    ///< Only when nothing else uses the disk.
};

/// Runs work at a low priority, in a release scope of its own, and returns when it is done. When the system
/// has no thread left, it runs at the caller's.
void runAtLowPriority(DiskUse use, const Handler<void()> &work);

} // namespace wickerlane::hoardd

#endif

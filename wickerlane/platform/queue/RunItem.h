// Running one work item.
#ifndef WICKERLANE_PLATFORM_QUEUE_RUNITEM_H
#define WICKERLANE_PLATFORM_QUEUE_RUNITEM_H

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// Runs an item and destroys it, inside a release scope of its own.
inline void runItem(WorkQueue::Work work) {
    ReleaseScope scope;
    const WorkQueue::Work held = std::move(work); // gone before the scope ends
    held();
}

} // namespace wickerlane

#endif

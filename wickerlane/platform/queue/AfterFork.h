// Work in a process that fork() made.
#ifndef WICKERLANE_PLATFORM_QUEUE_AFTERFORK_H
#define WICKERLANE_PLATFORM_QUEUE_AFTERFORK_H

#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// In a forked child: says on the console, once, that queues don't work here.
void reportForkedChild();

/// In a forked child, which has no thread to run them: runs the items here, in order, so that what waits for
/// them does not wait for ever.
void runAfterFork(std::span<WorkQueue::Work> batch);

} // namespace wickerlane

#endif

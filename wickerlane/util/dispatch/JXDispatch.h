// Callbacks on work queues, with a guard around them.
//
// The guard runs the callback inside a release scope of its own, and catches wickerlane::Exception and
// derived classes: it writes the exception's description to the console log, and the queue goes on. Other
// exceptions are not caught; one that leaves an item of a queue ends the process. A null queue or callback is
// ignored. Thread-safe.
#ifndef WICKERLANE_UTIL_DISPATCH_JXDISPATCH_H
#define WICKERLANE_UTIL_DISPATCH_JXDISPATCH_H

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/queue/WorkQueue.h"

/// Runs the callback on the queue and returns when it has run. An item of a serial queue that calls this for
/// its own queue waits for itself, forever.
WL_EXTERN_C void JXDispatch_sync(wickerlane::WorkQueue *queue, wickerlane::Handler<void()> callback);

/// Runs the callback on the queue later. The queue keeps it until it has run.
WL_EXTERN_C void JXDispatch_async(wickerlane::WorkQueue *queue, wickerlane::Handler<void()> callback);

/// Runs the callback on the main queue after `delay` seconds; as soon as possible when that is not above 0.
WL_EXTERN_C void JXDispatchOnMainAfter(wickerlane::Handler<void()> callback, double delay);

/// Waits for a signal of the semaphore, which must not be null, without a time limit. Always 0.
WL_EXTERN_C long JXDispatchSemaphoreWaitForever(wickerlane::Semaphore *semaphore);

#endif

// Running callbacks on queues under a guard.
//
// The guard gives a callback a release scope of its own, and catches wickerlane::Exception and what derives
// from it: the exception's description becomes a line of the console log, and the queue goes on. Exceptions
// of other kinds are not caught: an item of a queue that throws one ends the process. A null queue or
// callback is ignored. Thread-safe.
#ifndef WICKERLANE_UTIL_DISPATCH_JXDISPATCH_H
#define WICKERLANE_UTIL_DISPATCH_JXDISPATCH_H

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/queue/WorkQueue.h"

/// Runs the callback on the queue and returns when it has run. Not from an item of the same serial queue,
/// which would wait for itself.
WL_EXTERN_C void JXDispatch_sync(wickerlane::WorkQueue *queue, wickerlane::Handler<void()> callback);

/// Runs the callback on the queue later. It is kept until it has run.
WL_EXTERN_C void JXDispatch_async(wickerlane::WorkQueue *queue, wickerlane::Handler<void()> callback);

/// Runs the callback on the main queue once `delay` seconds have passed; as soon as possible when that is not
/// above 0. It is kept until it has run.
WL_EXTERN_C void JXDispatchOnMainAfter(wickerlane::Handler<void()> callback, double delay);

/// Waits until the semaphore, never null, is signalled, however long that takes. Always 0.
WL_EXTERN_C long JXDispatchSemaphoreWaitForever(wickerlane::Semaphore *semaphore);

#endif

// Work queues, on which handlers run, and the main queue, which the application serves.
#ifndef WICKERLANE_API_WLQUEUE_H
#define WICKERLANE_API_WLQUEUE_H

#include "wickerlane/api/WLTypes.h"

/// The process's concurrent queue: items run in parallel, on threads of the library. Lives for ever.
WL_EXTERN_C WLQueue *WLQueueGlobal(void);

/// The queue whose items run, in order, on the thread that calls WLMainRun() or WLMainDrain(). Lives for
/// ever.
WL_EXTERN_C WLQueue *WLQueueMain(void);

/// A queue that runs its items one at a time, in order. The label, which may be null, is for people. It lives
/// until its last item has run, whoever else lets go of it.
WL_EXTERN_C WLQueue *WLQueueCreate(const char *label);

/// Runs `work` on the queue later. A null queue or function is ignored.
WL_EXTERN_C void WLQueueAsync(WLQueue *queue, void (*work)(void *context), void *context,
                              WLReleaseContext release);

/// Runs `work` on the queue and returns when it has run. Never from an item of the same serial queue.
WL_EXTERN_C void WLQueueSync(WLQueue *queue, void (*work)(void *context), void *context,
                             WLReleaseContext release);

/// Runs `work` on the main queue once so many seconds have passed.
WL_EXTERN_C void WLMainAfter(double seconds, void (*work)(void *context), void *context,
                             WLReleaseContext release);

/// Serves the main queue until WLMainStop(). Calls nest.
WL_EXTERN_C void WLMainRun(void);

/// Makes the innermost WLMainRun() return after the item that is running; when none is under way, the next
/// one returns at once.
WL_EXTERN_C void WLMainStop(void);

/// Runs the items that wait on the main queue now, and returns their number.
WL_EXTERN_C size_t WLMainDrain(void);

/// A descriptor that polls readable while the main queue has items: for event loops of other libraries, which
/// then call WLMainDrain(). Open for ever, not to be read. -1 when the process has no descriptors left.
WL_EXTERN_C int WLMainDescriptor(void);

#endif

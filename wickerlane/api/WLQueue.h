// Work queues, on which handlers run, and the main queue, which the application serves. The conventions for
// handlers in WLTypes.h hold for `work`, `context` and `release` as well.
#ifndef WICKERLANE_API_WLQUEUE_H
#define WICKERLANE_API_WLQUEUE_H

#include "wickerlane/api/WLTypes.h"

/// The global concurrent queue: items run in parallel, on threads of the library. Borrowed; never destroyed.
WL_EXTERN_C WLQueue *WLQueueGlobal(void);

/// The main queue: items run in order, on the thread that calls WLMainRun() or WLMainDrain(). Borrowed; never
/// destroyed.
WL_EXTERN_C WLQueue *WLQueueMain(void);

/// A new serial queue: items run in order, one at a time. The label, which may be null, appears in
/// diagnostics. The queue lives at least until its last item has run.
WL_EXTERN_C WLQueue *WLQueueCreate(const char *label);

/// Runs `work` on the queue later. A null queue or function is ignored.
WL_EXTERN_C void WLQueueAsync(WLQueue *queue, void (*work)(void *context), void *context,
                              WLReleaseContext release);

/// Runs `work` on the queue and returns when it has run. An item of a serial queue must not call this for its
/// own queue, or it waits forever. A null queue or function is ignored.
WL_EXTERN_C void WLQueueSync(WLQueue *queue, void (*work)(void *context), void *context,
                             WLReleaseContext release);

/// Runs `work` on the main queue after `seconds`; as soon as possible when that is not above 0. A null
/// function is ignored.
WL_EXTERN_C void WLMainAfter(double seconds, void (*work)(void *context), void *context,
                             WLReleaseContext release);

/// Runs the items of the main queue on this thread until WLMainStop(). Calls may nest.
WL_EXTERN_C void WLMainRun(void);

/// Makes the innermost WLMainRun() return after the current item. Without one, the next WLMainRun() returns
/// at once.
WL_EXTERN_C void WLMainStop(void);

/// Runs the items that are waiting on the main queue, on this thread, and returns their number. Does not
/// block.
WL_EXTERN_C size_t WLMainDrain(void);

/// A descriptor that polls readable while the main queue has items: an event loop that finds it readable
/// calls WLMainDrain(). It belongs to the library and must be neither read nor closed. -1 when the process
/// has too many open files.
WL_EXTERN_C int WLMainDescriptor(void);

#endif

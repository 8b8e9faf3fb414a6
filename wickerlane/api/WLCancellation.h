// Cancelling functions that wait for the daemon, and those with a handler.
#ifndef WICKERLANE_API_WLCANCELLATION_H
#define WICKERLANE_API_WLCANCELLATION_H

#include "wickerlane/api/WLTypes.h"

#if WL_HAS_CLASSES
#include "wickerlane/platform/message/connection/Cancellation.h"
using WLCancellation = wickerlane::Cancellation;
#else
typedef struct WLCancellation WLCancellation;
#endif

/// What cancels the calls that are made while it is the cancellation of their thread. Never null.
WL_EXTERN_C WLCancellation *WLCancellationCreate(void);

/// Makes it the cancellation of the calling thread, in place of the one before, and retains it until another
/// is set or the thread ends; null for none. What the thread asks of the daemon from now on belongs to it,
/// with a handler or without. Handlers run on other threads, with cancellations of their own.
WL_EXTERN_C void WLSetCancellationOfThread(WLCancellation *cancellation);

/// Cancels, permanently, all calls that belong to it. Functions that wait return at once, on any thread, as
/// they do without a daemon, and WLLastError() is then WLErrorCancelled; handlers get that error. Later calls
/// that belong to it fail with it at once. The daemon does not begin what it has not begun, and stops long
/// work at its next step; what it has done by then stays. Does not wait for it. Functions that only send are
/// not concerned. A second call, and null, do nothing.
WL_EXTERN_C void WLCancel(WLCancellation *cancellation);

/// False for null.
WL_EXTERN_C bool WLIsCancelled(const WLCancellation *cancellation);

#endif

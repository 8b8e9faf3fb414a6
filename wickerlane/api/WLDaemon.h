// The daemon, and whether this program may use the library. Time limits are in WLError.h.
#ifndef WICKERLANE_API_WLDAEMON_H
#define WICKERLANE_API_WLDAEMON_H

#include "wickerlane/api/WLTypes.h"

/// Asks whether this program may use the library; that may ask the library's owner. The handler gets the
/// answer, on the global queue: with an error when it is no, WLErrorRefused or WLErrorUnreachable. A null
/// handler does nothing.
WL_EXTERN_C void WLRequestAccess(WLDoneHandler handler, void *context, WLReleaseContext release);

/// The same. False with an error when the answer is no, and on failure. Blocks.
WL_EXTERN_C bool WLHasAccess(WLError **error);

/// Starts the daemon if it is not running. All functions that need it do; this one does nothing else, and
/// returns at once.
WL_EXTERN_C void WLLaunchDaemon(void);

/// Blocks until everything that this program sent has left it. Call it before the program ends, if its last
/// functions only send.
WL_EXTERN_C void WLWaitUntilSent(void);

#endif

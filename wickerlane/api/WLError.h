// Errors: why a function that waits for the daemon has failed.
#ifndef WICKERLANE_API_WLERROR_H
#define WICKERLANE_API_WLERROR_H

#include "wickerlane/api/WLTypes.h"

/// Codes of the errors of WLLastError(). There may be others one day.
enum {
    WLErrorFailed = 0,        ///< None of the others.
    WLErrorInvalid = 1,       ///< The request makes no sense, or a file is not what it should be.
    WLErrorNotFound = 2,      ///< What was named, such as an asset or an album, is not there.
    WLErrorRefused = 3,       ///< This program has no right to it.
    WLErrorBusy = 4,          ///< Another program or request works on the same: try again later.
    WLErrorEnding = 5,        ///< The daemon is ending or restarting: ask again.
    WLErrorExists = 6,        ///< Something of that name or identity is there already.
    WLErrorDamagedStore = 7,  ///< The library's database can't be read or written as it should.
    WLErrorNoSpace = 8,       ///< The disk, or the user's share of it, is full.
    WLErrorNotWritable = 9,   ///< The file system or its permissions forbid it.
    WLErrorNewerVersion = 10, ///< The library was made by a newer daemon.
    WLErrorUnreachable = 11,  ///< There is no daemon, and it can't be started.
    WLErrorEmpty = 12,        ///< The request holds nothing to work on.
    WLErrorQueueFull = 13,    ///< Too much work is waiting: try again later.
    WLErrorTimedOut = 14,     ///< No answer came in the time that was allowed.
    WLErrorCancelled = 15     ///< This program has cancelled it, see WLCancellation.h.
};

/// Why the last function of this thread that waited for the daemon has failed; borrowed. Null when the daemon
/// has answered it, be it with nothing, and before the first. Functions with a handler leave it as it is.
WL_EXTERN_C WLError *WLLastError(void);

/// The vocabulary that the code belongs to: "WickerlaneRequest" for WLLastError(). Borrowed; null for null.
WL_EXTERN_C WLString *WLErrorDomain(const WLError *error);

/// The code; 0 for null.
WL_EXTERN_C int64_t WLErrorCode(const WLError *error);

/// A text for people: what was wrong, and what to do about it. Borrowed; null for null.
WL_EXTERN_C WLString *WLErrorText(const WLError *error);

/// How long functions may wait for the daemon, in this process, from now on; 0, which is the default, or less
/// means without limit. A function that is late fails as it does without a daemon, and WLLastError() is
/// WLErrorTimedOut. The daemon is told to stop, as WLCancel() does; what was asked may have been done.
WL_EXTERN_C void WLSetTimeLimit(double seconds);

/// The same for what the calling thread calls from now on, whatever the limit of the process. A negative time
/// ends that.
WL_EXTERN_C void WLSetTimeLimitOfThread(double seconds);

#endif

// A daemon that does what a test says, for tests of programs in C and other languages. Link with
// libwickerlane-testing.so.
//
// It listens in the process of the test, on a private root in a new folder, which WICKERLANE_ROOT names for
// this process and those that it starts. Start it before the process has asked a daemon, or after the one
// that it has asked has ended, and while no other thread uses the environment. There is one at a time.
//
// Operations are named as WLScriptedOperationsCreate() lists them: "assetsMatchingQuery:". An operation
// without a script is answered with an error that names it, except for two: access is granted, and a request
// to start the daemon finds it running.
//
// The conventions of WLTypes.h hold, but the daemon is no object: WLScriptedDaemonEnd() ends it. No daemon
// may be null. The `error` of the functions below may be null. What is stored there is borrowed, and is null
// after success; the code of an error is one of WLError.h, and its text says what is wrong with the script.
#ifndef WICKERLANE_TESTING_WLSCRIPTEDDAEMON_H
#define WICKERLANE_TESTING_WLSCRIPTEDDAEMON_H

#include "wickerlane/api/WLTypes.h"

typedef struct WLScriptedDaemon WLScriptedDaemon;

/// Begins to listen. Null when it can't, when there is another one, and when this process is connected to a
/// daemon: a test never reaches the user's own library.
WL_EXTERN_C WLScriptedDaemon *WLScriptedDaemonStart(WLError **error);

/// Ends all connections, and removes the root. Null is ignored.
WL_EXTERN_C void WLScriptedDaemonEnd(WLScriptedDaemon *daemon);

/// The folder of the root. Lives as long as the daemon.
WL_EXTERN_C const char *WLScriptedDaemonRoot(const WLScriptedDaemon *daemon);

// What is to be done about requests of an operation from now on: about each of them when `number` is 0, in
// place of what was said before; else about that one alone, counted from the next, which is 1. A null
// `operation` stands for all operations without a script, and takes no number. It is done after `delay`
// seconds, while other requests are served; when the delay is negative, once WLScriptedDaemonRelease() is
// called. False, and WLErrorInvalid, when no daemon could do that.

/// They are answered with those values, by the keys of the operation's reply; null stands for none.
/// docs/testing.md says what the values are.
WL_EXTERN_C bool WLScriptedDaemonAnswer(WLScriptedDaemon *daemon, const char *operation, size_t number,
                                        double delay, const WLDictionary *values, WLError **error);

/// The daemon says no for that reason, a code of WLError.h, with a text for people. Null stands for an empty
/// text. WLErrorInvalid for codes that no daemon sends: WLScriptedDaemonStop() stands for WLErrorUnreachable,
/// and a negative delay lets a request become WLErrorTimedOut or WLErrorCancelled.
WL_EXTERN_C bool WLScriptedDaemonFail(WLScriptedDaemon *daemon, const char *operation, size_t number,
                                      double delay, int64_t code, const char *text, WLError **error);

/// The daemon is gone, as if it was killed: all connections end, and nothing that waits is answered. The next
/// request reaches a new one, as if it had been started again.
WL_EXTERN_C bool WLScriptedDaemonDie(WLScriptedDaemon *daemon, const char *operation, size_t number,
                                     double delay, WLError **error);

/// While it is true, this program has no access to the library, whatever else was said.
WL_EXTERN_C void WLScriptedDaemonRefuseAccess(WLScriptedDaemon *daemon, bool isRefused);

/// Does what waits for it.
WL_EXTERN_C void WLScriptedDaemonRelease(WLScriptedDaemon *daemon);

/// Ends all connections, and listens no more: clients find that the daemon can't be started. A process that
/// has found that never looks again, so that a test in which it asks meanwhile needs a process of its own.
WL_EXTERN_C void WLScriptedDaemonStop(WLScriptedDaemon *daemon);

/// Listens again. False when it can't.
WL_EXTERN_C bool WLScriptedDaemonListen(WLScriptedDaemon *daemon, WLError **error);

/// All that has come, in order of arrival, as an array of dictionaries: "operation", a string; "values", a
/// dictionary in the order in which they were sent; "wantsReply", a boolean; "process", a number.
WL_EXTERN_C WLArray *WLScriptedDaemonCreateRequests(const WLScriptedDaemon *daemon);

/// Waits until that many have come. False when they have not in that many seconds; 0 or less, or what is no
/// number, looks and does not wait.
WL_EXTERN_C bool WLScriptedDaemonWaitForRequests(const WLScriptedDaemon *daemon, size_t count,
                                                 double seconds);

/// Forgets what has come.
WL_EXTERN_C void WLScriptedDaemonForgetRequests(WLScriptedDaemon *daemon);

/// The names of all operations, as a dictionary of arrays: the keys of their replies.
WL_EXTERN_C WLDictionary *WLScriptedOperationsCreate(void);

#endif

// Named notifications between processes.
#ifndef WICKERLANE_PLATFORM_NOTIFICATION_NOTIFICATION_H
#define WICKERLANE_PLATFORM_NOTIFICATION_NOTIFICATION_H

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// Tells every process of this user below the same root that registered for the name, this one included.
/// Posts may coalesce: handlers see at least one call after the last post, not one for each. False, with
/// errno, when the name is empty, longer than 200 bytes, "." or "..", or holds a "/", or when the run-time
/// folder, which must be private to the user, can't be used. Thread-safe.
WL_EXPORT bool postNotification(const char *name);

/// A registration; 0 is none.
using NotificationToken = int;

/// Calls the handler on the queue after each post from now on, until cancelled. The registration keeps both
/// alive. 0, with errno, on failure: for a name that can't be posted, a null queue or handler, or without a
/// usable run-time folder. Who removes that folder ends the registrations in it. Thread-safe.
[[nodiscard]] WL_EXPORT NotificationToken registerNotification(const char *name, WorkQueue *queue,
                                                               Handler<void(NotificationToken)> handler);

/// Ends a registration: no call of the handler begins afterwards, though one that has begun on another thread
/// may still run. May be called by the handler itself. False, with errno, for an unknown token. Thread-safe.
WL_EXPORT bool cancelNotification(NotificationToken token);

} // namespace wickerlane

#endif

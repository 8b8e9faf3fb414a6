// Named notifications between processes.
#ifndef WICKERLANE_PLATFORM_NOTIFICATION_NOTIFICATION_H
#define WICKERLANE_PLATFORM_NOTIFICATION_NOTIFICATION_H

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// Tells every process below the same root that registered for the name, this one included. Posts may coalesce:
/// handlers see at least one call after the last post, not one for each. False when the name is empty, longer
/// than 200 bytes or holds a "/" or NUL, or when the run-time folder can't be written. Thread-safe.
WL_EXPORT bool postNotification(const char *name);

/// A registration; 0 is none.
using NotificationToken = int;

/// Calls the handler on the queue after each post from now on. 0 on failure. Thread-safe.
[[nodiscard]] WL_EXPORT NotificationToken registerNotification(const char *name, WorkQueue *queue,
                                                               Handler<void(NotificationToken)> handler);

/// Ends a registration: no call of the handler begins afterwards. Unknown tokens are ignored. Thread-safe.
WL_EXPORT void cancelNotification(NotificationToken token);

} // namespace wickerlane

#endif

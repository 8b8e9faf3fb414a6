// Named notifications within this process.
#ifndef WICKERLANE_PLATFORM_NOTIFICATION_LOCALNOTIFICATION_H
#define WICKERLANE_PLATFORM_NOTIFICATION_LOCALNOTIFICATION_H

#include <string_view>

#include "wickerlane/platform/object/Handler.h"

namespace wickerlane {

/// What an observer gets; valid during the call.
struct LocalNotification {
    std::string_view name;
    Object *sender; ///< Null when the poster named none.
};

/// An observer; 0 is none.
using LocalObserverToken = int;

/// Calls the handler, on the thread that posts, for each notification of that name; only for those of one
/// sender when it is not null, which is told by its identity and not kept alive. Nothing is kept for an
/// observer: while the process is suspended nothing is posted, and what was posted before it began is not
/// caught up on. 0 for a null handler. Thread-safe.
[[nodiscard]] WL_EXPORT LocalObserverToken observeLocalNotification(
    std::string_view name, const Object *sender, Handler<void(const LocalNotification &)> handler);

/// Ends an observation: no call begins afterwards, though one that has begun on another thread may still run.
/// May be called by a handler. Unknown tokens are ignored. Thread-safe.
WL_EXPORT void removeLocalObserver(LocalObserverToken token);

/// Calls the observers of the name, in the order in which they came, and returns when they have run. Handlers
/// may post and observe. Thread-safe.
WL_EXPORT void postLocalNotification(std::string_view name, Object *sender = nullptr);

} // namespace wickerlane

#endif

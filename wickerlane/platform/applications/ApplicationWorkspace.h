// The applications on this device.
//
// They are known to a library of their own, libwickerlane-applications.so, which is loaded by those who ask
// and then registers the class that answers. A process that registers a class of that name before answers
// itself.
#ifndef WICKERLANE_PLATFORM_APPLICATIONS_APPLICATIONWORKSPACE_H
#define WICKERLANE_PLATFORM_APPLICATIONS_APPLICATIONWORKSPACE_H

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// What applications there are. Abstract; the class that is registered makes, without arguments, the default
/// workspace.
class WL_EXPORT ApplicationWorkspace : public Object {
    WL_OBJECT
public:
    /// The name under which a subclass is registered.
    static constexpr const char *registeredName = "ApplicationWorkspace";

    /// Whether an application is installed, named by its bundle identifier, such as "org.example.Painter".
    /// Looked up on every call. Thread-safe.
    [[nodiscard]] virtual bool isInstalled(const String *bundleIdentifier) const = 0;
};

} // namespace wickerlane

#endif

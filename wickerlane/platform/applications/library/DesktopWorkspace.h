// Installed applications by their desktop entries.
#ifndef WICKERLANE_PLATFORM_APPLICATIONS_LIBRARY_DESKTOPWORKSPACE_H
#define WICKERLANE_PLATFORM_APPLICATIONS_LIBRARY_DESKTOPWORKSPACE_H

#include "wickerlane/platform/applications/ApplicationWorkspace.h"

namespace wickerlane {

/// An application's bundle identifier is the identifier of its desktop entry: the path of its file below a
/// folder of applications, with "-" between the folders and without ".desktop". The folders are
/// "applications" in XDG_DATA_HOME (else ~/.local/share) and in each folder that XDG_DATA_DIRS lists (else
/// /usr/local/share and /usr/share); the first that has a well-formed entry decides.
class WL_EXPORT DesktopWorkspace final : public ApplicationWorkspace {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<DesktopWorkspace> create();
    /// True for an entry of an application that is not hidden and whose "TryExec", if it has one, is there.
    [[nodiscard]] bool isInstalled(const String *bundleIdentifier) const override;
};

} // namespace wickerlane

#endif

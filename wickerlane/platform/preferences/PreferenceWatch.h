// Noticing that preferences were changed by others.
#ifndef WICKERLANE_PLATFORM_PREFERENCES_PREFERENCEWATCH_H
#define WICKERLANE_PLATFORM_PREFERENCES_PREFERENCEWATCH_H

#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/FolderWatch.h"

namespace wickerlane {

/// Has the kernel report what happens to the files of the preferences, and posts a local notification for
/// each domain that it concerns. There may be several folders, since a test or a person may change the root.
class PreferenceWatch {
public:
    [[nodiscard]] static PreferenceWatch &shared();

    /// Watches the folder of the current root. False, with errno, on failure.
    bool start();

private:
    friend class NeverDestroyed<PreferenceWatch>;
    static void handleReports(std::span<const FolderWatch::Report> reports);
    PreferenceWatch() = default;

    FolderWatch folders{[](std::span<const FolderWatch::Report> reports) { handleReports(reports); }};
};

} // namespace wickerlane

#endif

// Noticing that preferences were changed by others.
#ifndef WICKERLANE_PLATFORM_PREFERENCES_PREFERENCEWATCH_H
#define WICKERLANE_PLATFORM_PREFERENCES_PREFERENCEWATCH_H

#include <mutex>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/queue/DescriptorSource.h"

namespace wickerlane {

/// Has the kernel report what happens to the files of the preferences, and posts a local notification for
/// each domain that it concerns. The process has one inotify descriptor, and in it one watch for each folder,
/// since a test or a person may change the root.
class PreferenceWatch {
public:
    [[nodiscard]] static PreferenceWatch &shared();

    /// Watches the folder of the current root. False, with errno, on failure.
    bool start();

private:
    PreferenceWatch() = default;
    void readReports();

    std::mutex mutex;
    UniqueFd inotify;
    Ref<DescriptorSource> source;
};

} // namespace wickerlane

#endif

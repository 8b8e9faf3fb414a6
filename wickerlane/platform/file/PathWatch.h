// Knowing, without asking the file system, that a file is as it was.
#ifndef WICKERLANE_PLATFORM_FILE_PATHWATCH_H
#define WICKERLANE_PLATFORM_FILE_PATHWATCH_H

#include <map>
#include <string>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Notices when what a path leads to may have changed: the file, its attributes, or a folder above it. A
/// change by another process is noticed as soon as the call that made it has returned. One thread at a time.
///
/// Not noticed: writes through a mapping, changes on another computer of a shared file system, and mounts.
class WL_EXPORT PathWatch {
public:
    /// Watches an absolute path from now on, whether or not there is a file. False when that can't be had,
    /// such as behind a symbolic link or a folder that can't be read: then nothing is known.
    [[nodiscard]] bool begin(const std::string &path);
    /// Whether nothing has changed since begin() succeeded. Once it has, false until the next begin(). Costs
    /// one system call.
    [[nodiscard]] bool isUnchanged() noexcept;

private:
    [[nodiscard]] bool watch(const std::string &path, std::string name, std::uint32_t events);

    UniqueFd inotify;
    /// What is watched, by inotify's number: the name in that folder that matters, empty for a file.
    std::map<int, std::string> names;
    bool isKnown = false;
};

} // namespace wickerlane

#endif

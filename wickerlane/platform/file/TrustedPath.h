// Paths that no other user can redirect.
#ifndef WICKERLANE_PLATFORM_FILE_TRUSTEDPATH_H
#define WICKERLANE_PLATFORM_FILE_TRUSTEDPATH_H

#include <string>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Why another user could choose what an absolute path leads to, as a text for people; empty when none could.
/// The file or folder, everything above it and every symbolic link on the way must belong to this user or to
/// root, and no other user may write it; a folder above it may be written by others when it is sticky, as
/// /tmp is. What is missing speaks for itself: only what is there is looked at. Thread-safe.
[[nodiscard]] WL_EXPORT std::string whyUntrusted(const std::string &path);

} // namespace wickerlane

#endif

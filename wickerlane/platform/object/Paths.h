// Paths as texts.
#ifndef WICKERLANE_PLATFORM_OBJECT_PATHS_H
#define WICKERLANE_PLATFORM_OBJECT_PATHS_H

#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

// Results are parts of the path. Slashes at its end don't count.

/// "c.jpg" of "/a/b/c.jpg"; "/" of "/".
[[nodiscard]] WL_EXPORT std::string_view lastPathComponent(std::string_view path) noexcept;
/// "/a/b" of "/a/b/c.jpg"; empty of a bare name; "/" of "/" and of "/a".
[[nodiscard]] WL_EXPORT std::string_view parentFolder(std::string_view path) noexcept;
/// "jpg" of "/a/b/c.jpg"; empty when there is none, as in ".hidden" and "name.".
[[nodiscard]] WL_EXPORT std::string_view pathExtension(std::string_view path) noexcept;

} // namespace wickerlane

#endif

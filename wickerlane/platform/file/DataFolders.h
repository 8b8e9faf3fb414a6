// Where installed data, such as service descriptions and bundles, is looked for.
#ifndef WICKERLANE_PLATFORM_FILE_DATAFOLDERS_H
#define WICKERLANE_PLATFORM_FILE_DATAFOLDERS_H

#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// The folder of this library's file, without a trailing slash; empty when it isn't known. Thread-safe.
[[nodiscard]] WL_EXPORT std::string libraryFolder();

/// The folders that may hold data of a kind, such as "services", in the order in which they count: those that
/// the environment variable lists (parted by colons) and no others when it is set; else `systemPath` below
/// the root, the installed data beside this library, and the data folder that the build was made for. They
/// need not exist. Looked up on every call. Thread-safe.
[[nodiscard]] WL_EXPORT std::vector<std::string>
dataFolders(const char *variable, std::string_view systemPath, std::string_view kind);

} // namespace wickerlane

#endif

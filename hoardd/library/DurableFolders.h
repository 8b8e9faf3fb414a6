// Folders whose names survive a crash.
#ifndef HOARDD_LIBRARY_DURABLEFOLDERS_H
#define HOARDD_LIBRARY_DURABLEFOLDERS_H

#include <string>

#include "wickerlane/model/Result.h"

namespace wickerlane::hoardd {

/// Makes a folder for good, and what is missing above it. One that is there stays as it is.
[[nodiscard]] Result<> makeDurableFolder(const std::string &path);

/// Lets the names in a folder survive a crash.
[[nodiscard]] Result<> makeNamesDurable(const std::string &folder);

/// Moves a file for good into a folder of the same file system, which is made if need be: under its own name,
/// or one with a number before it. Nothing happens when the file has gone already.
[[nodiscard]] Result<> moveIntoFolder(const std::string &path, const std::string &folder);

} // namespace wickerlane::hoardd

#endif

// Files and folders that come and go for certain.
#ifndef HOARDD_LIBRARY_DURABLEFOLDERS_H
#define HOARDD_LIBRARY_DURABLEFOLDERS_H

#include <string>

#include "wickerlane/model/Result.h"

namespace wickerlane::hoardd {

/// Makes a folder that survives a crash, and what is missing above it. The name of one that is there is
/// synced all the same: a killed process may not have done so. Fails on a link or a file of that name.
[[nodiscard]] Result<> makeDurableFolder(const std::string &path);

/// The same for a folder in one that exists. Since each save calls it, the name of one that is there is
/// synced only if this process has not done so. Threads may call it at the same time.
[[nodiscard]] Result<> makeDurableFolderOnce(const std::string &path);

/// Lets the names in a folder survive a crash.
[[nodiscard]] Result<> makeNamesDurable(const std::string &folder);

/// Moves a file into a folder of the same file system, which is made if need be: under its own name, or one
/// with a number before it, which survives a crash. Nothing happens when the file has gone already.
[[nodiscard]] Result<> moveIntoFolder(const std::string &path, const std::string &folder);

/// Succeeds also when there is no such file.
[[nodiscard]] Result<> removeFile(const std::string &path);

} // namespace wickerlane::hoardd

#endif

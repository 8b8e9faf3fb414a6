// Copying a file that somebody else may still be writing.
#ifndef HOARDD_LIBRARY_FILECOPY_H
#define HOARDD_LIBRARY_FILECOPY_H

#include <string>

namespace wickerlane::hoardd {

/// Copies a regular file into an empty one, sharing blocks where the file system can. An empty text on
/// success, else the reason; a source that changed meanwhile is one, since its copy may be neither the old
/// file nor the new.
[[nodiscard]] std::string copyFile(int source, int destination);

/// Moves a file into a folder of the same file system, which is made if need be: under its own name, or one
/// with a number before it. False, with errno, on failure; not when the file has gone already.
[[nodiscard]] bool moveInto(const std::string &folder, const std::string &path);

} // namespace wickerlane::hoardd

#endif

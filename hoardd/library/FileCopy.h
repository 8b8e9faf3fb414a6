// Copying a file that another process may still be writing.
#ifndef HOARDD_LIBRARY_FILECOPY_H
#define HOARDD_LIBRARY_FILECOPY_H

#include <string>

#include "wickerlane/model/Result.h"

namespace wickerlane::hoardd {

/// Copies a regular file into an empty one, sharing blocks where the file system can. Fails when the source
/// changes meanwhile: its copy may be neither the old file nor the new. `path` is what problems call the
/// copy.
[[nodiscard]] Result<> copyFile(int source, int destination, const std::string &path);

} // namespace wickerlane::hoardd

#endif

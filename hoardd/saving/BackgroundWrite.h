// Writing files into the library for callers that don't wait.
#ifndef HOARDD_SAVING_BACKGROUNDWRITE_H
#define HOARDD_SAVING_BACKGROUNDWRITE_H

#include <string>

#include "hoardd/library/Library.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::hoardd {

/// Writes a file, synced, into one of the library's folders for originals and incoming files, or a folder
/// that is there below them, without following a link. A file of that name is replaced by the whole new one,
/// unless it is the original of an asset, or has the name of one that is missing. Blocks.
[[nodiscard]] Result<> writeInBackground(Library &library, const std::string &path, Bytes bytes);

} // namespace wickerlane::hoardd

#endif

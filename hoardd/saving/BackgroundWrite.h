// Writing new files into the library for callers that don't wait.
#ifndef HOARDD_SAVING_BACKGROUNDWRITE_H
#define HOARDD_SAVING_BACKGROUNDWRITE_H

#include <string>

#include "hoardd/library/Library.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::hoardd {

/// Writes a file, synced, into one of the library's folders for originals and incoming files, or below them,
/// without following a link. What is there stays: an original is never altered, and in Incoming names are
/// given once.
[[nodiscard]] Result<> writeNewFile(const Library &library, const std::string &path, Bytes bytes);

} // namespace wickerlane::hoardd

#endif

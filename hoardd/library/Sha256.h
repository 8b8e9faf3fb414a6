// SHA-256 sums of files.
#ifndef HOARDD_LIBRARY_SHA256_H
#define HOARDD_LIBRARY_SHA256_H

#include <string>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/store/AssetRecord.h"

namespace wickerlane::hoardd {

/// The sum of a file's bytes, from its start. `path` is what problems call it.
[[nodiscard]] Result<store::Sha256> sha256OfFile(int descriptor, const std::string &path);

/// The sum of bytes in memory.
[[nodiscard]] store::Sha256 sha256Of(Bytes bytes);

} // namespace wickerlane::hoardd

#endif

// SHA-256 sums of files.
#ifndef HOARDD_LIBRARY_SHA256_H
#define HOARDD_LIBRARY_SHA256_H

#include <optional>

#include "wickerlane/platform/object/Data.h"
#include "wickerlane/store/AssetRecord.h"

namespace wickerlane::hoardd {

/// The sum of a file's bytes, from its start. Nothing, with errno, when it can't be read.
[[nodiscard]] std::optional<store::Sha256> sha256OfFile(int descriptor);

/// The sum of bytes in memory.
[[nodiscard]] store::Sha256 sha256Of(Bytes bytes);

} // namespace wickerlane::hoardd

#endif

// Duplicates in a whole library: long work, see Moments.h.
#ifndef HOARDD_ANALYSIS_DUPLICATES_H
#define HOARDD_ANALYSIS_DUPLICATES_H

#include <cstdint>
#include <span>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Fingerprints new assets, and groups duplicates if need be.
[[nodiscard]] Result<> analyzeDuplicates(Library &library);
/// Deletes all fingerprints and groups, so that the next analysis looks at all assets again.
[[nodiscard]] Result<> resetDuplicates(Library &library);
/// Remembers whether assets, by their keys, may be duplicates of each other, and groups again.
[[nodiscard]] Result<> setAreDuplicates(Library &library, std::span<const std::int64_t> assets,
                                        bool areDuplicates);

} // namespace wickerlane::hoardd

#endif

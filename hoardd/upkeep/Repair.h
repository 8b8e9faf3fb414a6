// Putting a library right.
#ifndef HOARDD_UPKEEP_REPAIR_H
#define HOARDD_UPKEEP_REPAIR_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Checks the library, its sums left out, and repairs what can be repaired. Pictures and videos among the
/// originals that no asset has become assets, unless they are still being written: those wait for the next
/// repair. Makes missing and damaged thumbnails, and tries again the pictures that could not be decoded.
/// Rows of missing renditions are deleted. Other files that no asset has are moved into
/// PhotoData/LostAndFound, never removed. An original that is missing, changed or can't be decoded, and a
/// damaged store, can only be reported. Assets may change meanwhile: each thing is looked at again, under its
/// asset's lock, before it is repaired. Interrupted at any instant, it can start again.
/// Fails when something is left, and says how much and the first of it.
[[nodiscard]] Result<> repairLibrary(Library &library);

/// How long repairLibrary() would take, in seconds, at least 1: estimated from what there is to do.
[[nodiscard]] Result<std::int64_t> secondsToRepair(const Library &library);

} // namespace wickerlane::hoardd

#endif

// Putting a library right.
#ifndef HOARDD_UPKEEP_REPAIR_H
#define HOARDD_UPKEEP_REPAIR_H

#include <string>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Checks the library, its sums left out, and mends what can be mended: pictures and videos among the
/// originals that no asset has become assets; missing thumbnails are made; rows of renditions that are gone
/// go; other files that no asset has are moved into PhotoData/LostAndFound, never removed. An original that
/// is missing or changed, and a damaged store, can only be told of. Interrupted at any instant, it can begin
/// again. An empty text when nothing is left to mend, else what is.
[[nodiscard]] std::string repairLibrary(Library &library);

} // namespace wickerlane::hoardd

#endif

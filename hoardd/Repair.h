// Putting a library right.
#ifndef HOARDD_REPAIR_H
#define HOARDD_REPAIR_H

#include <string>

#include "hoardd/Library.h"

namespace hoardd {

/// Checks the library, its sums left out, and mends what can be mended: missing thumbnails are made; rows of
/// renditions that are gone go; files that no asset has are moved into PhotoData/LostAndFound, never removed.
/// An original that is missing or changed, and a damaged store, can only be told of. Interrupted at any
/// instant, it can begin again. An empty text when nothing is left to mend, else what is.
[[nodiscard]] std::string repairLibrary(Library &library);

} // namespace hoardd

#endif

// Demonstration libraries, which visitors add to.
#ifndef HOARDD_UPKEEP_DEMOMODE_H
#define HOARDD_UPKEEP_DEMOMODE_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Takes all assets and albums out of the library that were added after a date (seconds since 2001-01-01
/// 00:00:00 UTC), and all bulletins.
[[nodiscard]] Result<> removeAddedSince(Library &library, double date);

} // namespace wickerlane::hoardd

#endif

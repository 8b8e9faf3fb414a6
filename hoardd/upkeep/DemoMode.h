// Demonstration libraries, which visitors add to.
#ifndef HOARDD_UPKEEP_DEMOMODE_H
#define HOARDD_UPKEEP_DEMOMODE_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Takes out of the library what came after a date (seconds since 2001-01-01 00:00:00 UTC): assets, edited
/// renditions, albums, what was put into older albums, bulletins, and people. What was moved to the
/// trash since comes back; what was replaced doesn't.
[[nodiscard]] Result<> removeAddedSince(Library &library, double date);

} // namespace wickerlane::hoardd

#endif

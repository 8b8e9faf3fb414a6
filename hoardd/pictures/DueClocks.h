// Finding out what the camera's clock showed of assets that have no clock date.
#ifndef HOARDD_PICTURES_DUECLOCKS_H
#define HOARDD_PICTURES_DUECLOCKS_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Reads the originals of all such assets. What can't be read for a reason that may pass is left for the next
/// time. Blocks, at a low priority, and stops where it can when the process is ending.
void readClocksLeftDue(Library &library);

} // namespace wickerlane::hoardd

#endif

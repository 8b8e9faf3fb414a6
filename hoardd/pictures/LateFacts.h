// Reading what files say of themselves that was not kept when their assets were saved.
#ifndef HOARDD_PICTURES_LATEFACTS_H
#define HOARDD_PICTURES_LATEFACTS_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Reads the originals of all such assets: what the camera's clock showed, and the details. What can't be
/// read for a reason that may pass is left for the next time. Blocks, at a low priority, and stops where it
/// can when the process is ending.
void readLateFacts(Library &library);

} // namespace wickerlane::hoardd

#endif

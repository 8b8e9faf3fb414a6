// Reading what files say of themselves that was not kept when their assets were saved.
#ifndef HOARDD_PICTURES_LATEFACTS_H
#define HOARDD_PICTURES_LATEFACTS_H

#include <cstdint>
#include <span>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Reads the originals of all such assets: what the camera's clock showed, and the details. What can't be
/// read for a reason that may pass is left for the next time. Blocks, at a low priority, and stops where it
/// can when the process is ending.
void readLateFacts(Library &library);

/// The same of some assets, by their primary keys, at the caller's priority. Fails when the store does.
[[nodiscard]] Result<> readLateFactsOf(Library &library, std::span<const std::int64_t> assets);

} // namespace wickerlane::hoardd

#endif

// The operations that open, find and read assets.
#ifndef HOARDD_PICTURES_ASSETHANDLERS_H
#define HOARDD_PICTURES_ASSETHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> assetOperations();

} // namespace wickerlane::hoardd

#endif

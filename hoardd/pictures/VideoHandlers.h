// The operations on videos.
#ifndef HOARDD_PICTURES_VIDEOHANDLERS_H
#define HOARDD_PICTURES_VIDEOHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> videoOperations();

} // namespace wickerlane::hoardd

#endif

// The operations on edited renditions, thumbnails and the camera's preview well.
#ifndef HOARDD_PICTURES_RENDITIONHANDLERS_H
#define HOARDD_PICTURES_RENDITIONHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> renditionOperations();

} // namespace wickerlane::hoardd

#endif

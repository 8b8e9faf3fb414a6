// The operations on albums, and edits of assets.
#ifndef HOARDD_ALBUMS_ALBUMHANDLERS_H
#define HOARDD_ALBUMS_ALBUMHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> albumOperations();

} // namespace wickerlane::hoardd

#endif

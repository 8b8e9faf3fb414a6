// The operations on streams, bulletins, people and the space of shared albums.
#ifndef HOARDD_ALBUMS_SHARINGHANDLERS_H
#define HOARDD_ALBUMS_SHARINGHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> sharingOperations();

} // namespace wickerlane::hoardd

#endif

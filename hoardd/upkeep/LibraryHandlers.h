// The operations on the library as a whole.
#ifndef HOARDD_UPKEEP_LIBRARYHANDLERS_H
#define HOARDD_UPKEEP_LIBRARYHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> libraryOperations();

} // namespace wickerlane::hoardd

#endif

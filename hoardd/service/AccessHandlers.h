// The operations that anybody may ask for.
#ifndef HOARDD_SERVICE_ACCESSHANDLERS_H
#define HOARDD_SERVICE_ACCESSHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> accessOperations();

} // namespace wickerlane::hoardd

#endif

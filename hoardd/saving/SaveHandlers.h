// The operations that save assets.
#ifndef HOARDD_SAVING_SAVEHANDLERS_H
#define HOARDD_SAVING_SAVEHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> saveOperations();

} // namespace wickerlane::hoardd

#endif

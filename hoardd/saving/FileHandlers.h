// The operations on files that callers bring.
#ifndef HOARDD_SAVING_FILEHANDLERS_H
#define HOARDD_SAVING_FILEHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> fileOperations();

} // namespace wickerlane::hoardd

#endif

// The operations that work out moments, duplicates and the cloud feed.
#ifndef HOARDD_ANALYSIS_ANALYSISHANDLERS_H
#define HOARDD_ANALYSIS_ANALYSISHANDLERS_H

#include <span>

#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

[[nodiscard]] std::span<const Operation> analysisOperations();

} // namespace wickerlane::hoardd

#endif

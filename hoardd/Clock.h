// The time, as the store keeps it.
#ifndef HOARDD_CLOCK_H
#define HOARDD_CLOCK_H

#include "wickerlane/platform/object/Number.h"

namespace hoardd {

/// The present time, in seconds since the reference date.
[[nodiscard]] inline double secondsNow() {
    return wickerlane::Date::createNow()->referenceSeconds();
}

} // namespace hoardd

#endif

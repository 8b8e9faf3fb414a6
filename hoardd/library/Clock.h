// The time, as the store keeps it.
#ifndef HOARDD_LIBRARY_CLOCK_H
#define HOARDD_LIBRARY_CLOCK_H

#include "wickerlane/platform/object/Number.h"

namespace wickerlane::hoardd {

/// The present time, in seconds since the reference date.
[[nodiscard]] inline double secondsNow() {
    return Date::createNow()->referenceSeconds();
}

} // namespace wickerlane::hoardd

#endif

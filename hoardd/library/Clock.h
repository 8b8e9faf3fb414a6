// The time, as the store keeps it.
#ifndef HOARDD_LIBRARY_CLOCK_H
#define HOARDD_LIBRARY_CLOCK_H

#include <cstdint>

#include "wickerlane/platform/object/Number.h"

namespace wickerlane::hoardd {

/// The present time, in seconds since the reference date.
[[nodiscard]] inline double secondsNow() {
    return Date::createNow()->referenceSeconds();
}

/// What the clocks of this machine are ahead of UTC at a time, in minutes.
[[nodiscard]] std::int64_t localZoneMinutes(double secondsSinceReference);

} // namespace wickerlane::hoardd

#endif

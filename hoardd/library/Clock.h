// The time, as the store keeps it.
#ifndef HOARDD_LIBRARY_CLOCK_H
#define HOARDD_LIBRARY_CLOCK_H

#include <cstdint>
#include <ctime>

#include "wickerlane/platform/object/Number.h"

namespace wickerlane::hoardd {

/// The present time, in seconds since the reference date.
[[nodiscard]] inline double secondsNow() {
    return Date::createNow()->referenceSeconds();
}

/// A time of a file, in seconds since the reference date.
[[nodiscard]] inline double referenceSeconds(const timespec &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9 -
           Date::secondsFrom1970To2001;
}

/// What the clocks of this machine are ahead of UTC at a time, in minutes.
[[nodiscard]] std::int64_t localZoneMinutes(double secondsSinceReference);

} // namespace wickerlane::hoardd

#endif

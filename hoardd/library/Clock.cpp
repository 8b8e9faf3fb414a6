#include "hoardd/library/Clock.h"

#include <cmath>
#include <ctime>

namespace wickerlane::hoardd {

std::int64_t localZoneMinutes(double secondsSinceReference) {
    const auto instant =
        static_cast<std::time_t>(std::floor(secondsSinceReference + Date::secondsFrom1970To2001));
    std::tm parts = {};
    return localtime_r(&instant, &parts) != nullptr ? parts.tm_gmtoff / 60 : 0;
}

} // namespace wickerlane::hoardd

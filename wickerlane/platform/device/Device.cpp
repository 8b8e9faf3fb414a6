#include "wickerlane/platform/device/Device.h"

#include <sched.h>

#include <algorithm>
#include <climits>

#include "wickerlane/platform/preferences/Preferences.h"

namespace wickerlane {
namespace {

unsigned schedulerProcessorCount() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) != 0)
        return 1;
    return static_cast<unsigned>(std::max(CPU_COUNT(&set), 1));
}

} // namespace

bool deviceIsInternal() {
    return preferenceInteger("InternalDevice", deviceDomain, 0) != 0;
}

unsigned deviceProcessorCount() {
    const std::int64_t set = preferenceInteger("ProcessorCount", deviceDomain, 0);
    return set > 0 ? static_cast<unsigned>(std::min<std::int64_t>(set, UINT_MAX)) : schedulerProcessorCount();
}

} // namespace wickerlane

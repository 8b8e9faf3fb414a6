#include "wickerlane/platform/device/Device.h"

#include <algorithm>
#include <climits>

#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/process/ProcessFacts.h"

namespace wickerlane {

bool deviceIsInternal() {
    return preferenceInteger("InternalDevice", deviceDomain, 0) != 0;
}

unsigned deviceProcessorCount() {
    const std::int64_t set = preferenceInteger("ProcessorCount", deviceDomain, 0);
    return set > 0 ? static_cast<unsigned>(std::min<std::int64_t>(set, UINT_MAX)) : processorCount();
}

} // namespace wickerlane

// What kind of device this is.
#ifndef WICKERLANE_PLATFORM_DEVICE_DEVICE_H
#define WICKERLANE_PLATFORM_DEVICE_DEVICE_H

#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Preferences domain of the device's settings. A setting that is absent takes its value from the machine.
inline constexpr std::string_view deviceDomain = "org.wickerlane.device";

/// "InternalDevice": true on the makers' own devices, where the log system is more talkative. False by
/// default.
[[nodiscard]] WL_EXPORT bool deviceIsInternal();

/// "ProcessorCount": processors this process may run on, at least 1. From the scheduler by default (and for 0
/// or less).
[[nodiscard]] WL_EXPORT unsigned deviceProcessorCount();

} // namespace wickerlane

#endif

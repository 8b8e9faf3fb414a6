// Whether there is power to spare.
#ifndef HOARDD_SERVICE_BATTERY_H
#define HOARDD_SERVICE_BATTERY_H

#include <string>

namespace wickerlane::hoardd {

/// Whether a battery of the device itself, not one of a mouse or the like, is being discharged. The folder
/// has one folder for each power supply, as the kernel shows them.
[[nodiscard]] bool isOnBattery(const std::string &folder = "/sys/class/power_supply");

} // namespace wickerlane::hoardd

#endif

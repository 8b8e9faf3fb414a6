// Reports the state of this process to the service manager that started it.
#ifndef HOARDD_SERVICEMANAGER_H
#define HOARDD_SERVICEMANAGER_H

#include <string_view>

namespace wickerlane::hoardd {

/// Sends a state, as "READY=1", to the manager in the way of sd_notify(3). Does nothing when the environment
/// names none.
void tellServiceManager(std::string_view state);

} // namespace wickerlane::hoardd

#endif

// Listening sockets that a service inherits from the process that started it.
#ifndef WICKERLANE_PLATFORM_MESSAGE_SERVICE_INHERITEDSOCKET_H
#define WICKERLANE_PLATFORM_MESSAGE_SERVICE_INHERITEDSOCKET_H

#include <string_view>

#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane {

/// The first of them, as sd_listen_fds(3) has it.
inline constexpr int firstInheritedDescriptor = 3;
/// Set in the environment of a service that a client has started: its socket is its own to remove.
inline constexpr const char *startedByClientVariable = "WICKERLANE_STARTED";

struct InheritedSocket {
    UniqueFd socket{};
    bool isManaged = false; ///< A service manager keeps it bound when this process ends.
};

/// The listening socket of that name; none when there is none or it was taken before.
[[nodiscard]] InheritedSocket takeInheritedSocket(std::string_view serviceName);

} // namespace wickerlane

#endif

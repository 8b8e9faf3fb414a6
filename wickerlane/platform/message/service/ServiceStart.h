// Starting a named service.
#ifndef WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICESTART_H
#define WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICESTART_H

#include "wickerlane/platform/message/service/ServiceDescription.h"

namespace wickerlane {

/// Runs the program in a session of its own, free of this process's circumstances, with the listening socket
/// as its descriptor 3, announced as sd_listen_fds(3) announces it, and its console in "<service name>.log"
/// in serviceLogFolder(). It is no child of this process. False when it could not be run.
[[nodiscard]] bool startService(std::string_view serviceName, const ServiceDescription &description,
                                int listeningSocket);

} // namespace wickerlane

#endif

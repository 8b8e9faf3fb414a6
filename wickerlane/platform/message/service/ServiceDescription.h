// How a named service is started.
#ifndef WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICEDESCRIPTION_H
#define WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICEDESCRIPTION_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// What the file `<service name>.plist` says: a property list with "Program", the path of an executable (a
/// relative one starts at the folder of the file), and "Arguments", an array of strings, which may be
/// missing.
///
/// The folders in which it is looked for, in this order: the root's "/Library/Services",
/// "../share/wickerlane/services" beside the folder of libwickerlane.so, and the folder of the installation.
/// When WICKERLANE_SERVICES is set, those that it names (separated by colons) and no others.
struct ServiceDescription {
    std::string program;                ///< Absolute.
    std::vector<std::string> arguments; ///< Without the program's name.
};

/// The first description found; none when there is none that can be read.
[[nodiscard]] WL_EXPORT std::optional<ServiceDescription>
findServiceDescription(std::string_view serviceName);

/// Runs the program in a session of its own, with the listening socket as its descriptor 3, announced as
/// sd_listen_fds(3) announces it, and its console in the root's "/var/log/wickerlane/<service name>.log". It
/// is nobody's child. False when it could not be run.
[[nodiscard]] bool startService(std::string_view serviceName, const ServiceDescription &description,
                                int listeningSocket);

/// The listening socket that a starter, or the system's service manager, handed to this process under that
/// name; -1 when there is none or it was taken before. `isManaged` tells that it stays bound when this
/// process ends.
[[nodiscard]] int takeHandedSocket(std::string_view serviceName, bool &isManaged);

} // namespace wickerlane

#endif

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
/// When WICKERLANE_SERVICES is set, those that it names (separated by colons) and no others. A file that
/// another user could have put there does not count, nor does one that names such a program.
struct ServiceDescription {
    std::string program;                ///< Absolute.
    std::vector<std::string> arguments; ///< Without the program's name.
};

/// The first description that can be read and counts. When there is none, `whyNot`, unless it is null, says
/// what was found that does not count; it is empty when there was nothing.
[[nodiscard]] WL_EXPORT std::optional<ServiceDescription>
findServiceDescription(std::string_view serviceName, std::string *whyNot = nullptr);

} // namespace wickerlane

#endif

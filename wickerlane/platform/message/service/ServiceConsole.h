// The console of a service that a client has started: a log file.
#ifndef WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICECONSOLE_H
#define WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICECONSOLE_H

#include <string>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// The folder of these files: the root's "/var/log/wickerlane".
[[nodiscard]] std::string serviceLogFolder();

/// Keeps the console of this process in "<service name>.log" there, if that is where the client that started
/// it has directed it: from now on each line of the console has the time and the process id in front, and a
/// file of 10 MiB is finished, as "<service name>.1.log", and a new one begun; five are kept. What else
/// writes to standard output and error goes to the same file. Does nothing in a process that was started
/// otherwise. Before other threads start.
WL_EXPORT void keepServiceConsole(const char *serviceName);

} // namespace wickerlane

#endif

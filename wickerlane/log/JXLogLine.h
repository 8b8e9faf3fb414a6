// The lines of the log.
#ifndef WICKERLANE_LOG_JXLOGLINE_H
#define WICKERLANE_LOG_JXLOGLINE_H

#include <string>
#include <string_view>

#include "wickerlane/platform/logging/LKLogging.h"

enum : int { JXLogDestinationConsole = 0, JXLogDestinationFile = 1 };

/// The line for the console:
///     FACILITY <t:THREAD> MESSAGE
/// and for a file, whose function and place in the source are shown at debug level only:
///     YYYY/MM/DD hh:mm:ss|PROCESS [PID:THREAD]|FUNCTION|FILE:LINE|FACILITY: MESSAGE
/// The date, in local time, is "(null)" when the timestamp can't be shown. Any other destination ends the
/// process. Threads are named by their address. Thread-safe.
[[nodiscard]] WL_EXPORT std::string JXLogLine(int destination, std::string_view processLabel,
                                              const LKLogEntry &entry);

#endif

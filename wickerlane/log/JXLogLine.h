// The format of log lines.
#ifndef WICKERLANE_LOG_JXLOGLINE_H
#define WICKERLANE_LOG_JXLOGLINE_H

#include <string>
#include <string_view>

#include "wickerlane/platform/logging/LKLogging.h"

enum : int { JXLogDestinationConsole = 0, JXLogDestinationFile = 1 };

/// A line for the console:
///     FACILITY <t:THREAD> MESSAGE
/// or for a file, with function and place in the source at debug level only:
///     YYYY/MM/DD hh:mm:ss|PROCESS [PID:THREAD]|FUNCTION|FILE:LINE|FACILITY: MESSAGE
/// The date is in local time; it is "(null)" when the timestamp can't be converted. A thread is shown as its
/// address. Any other destination ends the process. Thread-safe.
[[nodiscard]] WL_EXPORT std::string JXLogLine(int destination, std::string_view processLabel,
                                              const LKLogEntry &entry);

#endif

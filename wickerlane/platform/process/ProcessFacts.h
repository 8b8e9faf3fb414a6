// What the kernel says about a process.
#ifndef WICKERLANE_PLATFORM_PROCESS_PROCESSFACTS_H
#define WICKERLANE_PLATFORM_PROCESS_PROCESSFACTS_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

// All of these are thread-safe.

/// The absolute path of the program that a process runs, in the kernel's words: " (deleted)" stands behind it
/// when the file was removed or replaced meanwhile. Empty when there is no such process, or when it belongs
/// to another user.
[[nodiscard]] WL_EXPORT std::string executableOf(pid_t process);

/// A path without the kernel's " (deleted)".
[[nodiscard]] WL_EXPORT std::string_view withoutDeletedMark(std::string_view path) noexcept;

/// The absolute path of this process's program, also when the file was replaced by an update meanwhile. Empty
/// when the kernel doesn't say.
[[nodiscard]] WL_EXPORT std::string ownExecutable();

/// When a process was started, in clock ticks since boot; 0 when there is no such process.
[[nodiscard]] WL_EXPORT std::uint64_t startTimeOf(pid_t process);

/// How many processors this process may use; at least 1.
[[nodiscard]] WL_EXPORT unsigned processorCount();

} // namespace wickerlane

#endif

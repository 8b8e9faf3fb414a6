// The processes of the machine.
#ifndef WICKERLANE_PLATFORM_PROCESS_PROCESSTABLE_H
#define WICKERLANE_PLATFORM_PROCESS_PROCESSTABLE_H

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Command names are cut at this number of bytes.
inline constexpr std::size_t maxCommandNameLength = 16;

struct ProcessRecord {
    pid_t process;
    /// The name of the program it runs, or what the process calls itself; foreign bytes. The kernel keeps 15
    /// bytes of it; the sixteenth is that of the executable, where its name goes on.
    std::string command;
};

/// The processes that this one may see, as the kernel lists them: by ascending ids. Read in one pass; a
/// process that begins or ends meanwhile may be in it or not. None when the kernel does not tell.
/// Thread-safe.
[[nodiscard]] WL_EXPORT std::optional<std::vector<ProcessRecord>> processTable();

} // namespace wickerlane

#endif

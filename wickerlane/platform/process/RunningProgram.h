// Which program a process runs, and whether its path says so.
#ifndef WICKERLANE_PLATFORM_PROCESS_RUNNINGPROGRAM_H
#define WICKERLANE_PLATFORM_PROCESS_RUNNINGPROGRAM_H

#include <sys/types.h>

#include <string>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// How far the path of a running program can be believed.
enum class ProgramStanding {
    named,   ///< It leads to the very file that runs.
    gone,    ///< The file was removed, moved or replaced since, or the path is another file's.
    hidden,  ///< The kernel does not tell this process. The path is empty.
    foreign, ///< The process has user or mount namespaces of its own, where any path can be made up.
};

struct RunningProgram {
    std::string path; ///< Absolute, as this process sees it.
    ProgramStanding standing = ProgramStanding::hidden;
    dev_t device = 0; ///< With `file`: the file that runs, whatever its name. 0 while hidden.
    ino_t file = 0;

    /// Whether it is the program of that path and no other.
    [[nodiscard]] bool is(std::string_view program) const {
        return standing == ProgramStanding::named && path == program;
    }
    /// Whether it was or may be the program of that path: under another name of the same file, after its end
    /// as a file, or where nothing is known.
    [[nodiscard]] bool mayBe(const std::string &program) const;
};

/// Asks the kernel about a process, which must not end meanwhile. Thread-safe.
[[nodiscard]] WL_EXPORT RunningProgram programOf(pid_t process);

} // namespace wickerlane

#endif

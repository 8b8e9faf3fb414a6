// How the command ends, for scripts.
#ifndef CLI_EXITCODE_H
#define CLI_EXITCODE_H

#include "wickerlane/model/Problem.h"

namespace wickerlane::cli {

enum class ExitCode : int {
    success = 0,
    failure = 1,       ///< Some or all of the work could not be done.
    usage = 2,         ///< The command line makes no sense.
    unreachable = 3,   ///< The daemon is not running and could not be started, or stopped answering.
    notFound = 4,      ///< There is no such asset, text or process, or no library yet.
    refused = 5,       ///< This user or program may not do it.
    damaged = 6,       ///< The library's store is damaged or missing, and can be repaired.
    newer = 7,         ///< The library was made by a newer version.
    busy = 8,          ///< Something else works on the library, or too much is asked of it: try again later.
    timedOut = 9,      ///< The daemon did not answer in the time that was allowed.
    interrupted = 130, ///< Ctrl-C ended it.
};

/// The code for a problem that ends the command.
ExitCode exitCodeOf(const Problem &problem);

} // namespace wickerlane::cli

#endif

#include "cli/ExitCode.h"

namespace wickerlane::cli {

ExitCode exitCodeOf(const Problem &problem) {
    // A problem with a file is a failure, even when the file is what was not found.
    if (!problem.file.empty())
        return ExitCode::failure;
    switch (problem.kind) {
    case ProblemKind::invalid:
        return ExitCode::usage;
    case ProblemKind::unreachable:
        return ExitCode::unreachable;
    case ProblemKind::notFound:
        return ExitCode::notFound;
    default:
        return ExitCode::failure;
    }
}

} // namespace wickerlane::cli

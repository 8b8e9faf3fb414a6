#include "cli/ExitCode.h"

namespace wickerlane::cli {

ExitCode exitCodeOf(const Problem &problem) {
    if (problem.kind == ProblemKind::damagedStore)
        return ExitCode::damaged;
    if (problem.kind == ProblemKind::newerVersion)
        return ExitCode::newer;
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
    case ProblemKind::refused:
    case ProblemKind::notWritable:
        return ExitCode::refused;
    case ProblemKind::busy:
    case ProblemKind::queueFull:
        return ExitCode::busy;
    case ProblemKind::timedOut:
        return ExitCode::timedOut;
    case ProblemKind::cancelled:
        return ExitCode::interrupted;
    default:
        return ExitCode::failure;
    }
}

} // namespace wickerlane::cli

// What the subcommands that decide about programs share.
#ifndef CLI_PROGRAMDECISION_H
#define CLI_PROGRAMDECISION_H

#include <string>

#include "cli/ExitCode.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

/// The path by which the kernel knows a program: absolute, without symbolic links.
std::string programPath(const std::string &program);

/// How a change of the decisions went. When `done` is false, errno says why.
Result<ExitCode> decisionSaved(bool done);

} // namespace wickerlane::cli

#endif

// What the subcommands that decide about programs share.
#ifndef CLI_PROGRAMDECISION_H
#define CLI_PROGRAMDECISION_H

#include <functional>
#include <string>

#include "cli/ExitCode.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/consent/Consent.h"

namespace wickerlane::cli {

/// The path by which the kernel knows a program: absolute, without symbolic links.
std::string programPath(const std::string &program);

/// The same of a program that something is decided about. Says so when there is no such file.
std::string pathToDecideAbout(const std::string &program);

/// Fails when there is a file of decisions that does not count, as another user could have put it there.
Result<> decisionsCount();

/// Makes a change of the decisions. `change` is false, with errno, on failure.
Result<ExitCode> changeDecisions(const std::function<bool(ConsentStore &decisions)> &change);

} // namespace wickerlane::cli

#endif

// Changes of the assets as they come.
#ifndef CLI_FOLLOWEDCHANGES_H
#define CLI_FOLLOWEDCHANGES_H

#include <string>

#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

/// "added", "changed" or "removed".
const char *nameOf(AssetChange::What what);
JSON describe(const AssetChange &change);

/// Prints what has happened since a change with that number, and what happens then; from now on when the
/// number is negative. As text or, one object a line, as JSON. Waits for hoardd to come back when it ends.
/// Until Ctrl-C, or until standard output is a pipe that nothing reads.
Result<ExitCode> followChanges(std::int64_t since, bool json);

} // namespace wickerlane::cli

#endif

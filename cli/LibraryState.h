// Whether there is a library, for what must not have the daemon make one.
#ifndef CLI_LIBRARYSTATE_H
#define CLI_LIBRARYSTATE_H

#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

/// Fails when nothing has been saved into the library yet: asking the daemon would make it.
Result<> requireLibrary();

/// Fails also when this process can't read the store, for commands that need no daemon.
Result<> requireReadableStore();

/// The problem of a store that can't be opened, with what to do about it.
Failure failToOpenStore(const Problem &problem);

} // namespace wickerlane::cli

#endif

// The lock of a library, which only one process serves.
#ifndef HOARDD_LIBRARY_LIBRARYLOCK_H
#define HOARDD_LIBRARY_LIBRARYLOCK_H

#include <chrono>
#include <string>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::hoardd {

/// Locks the file, which is made when it is missing, and writes this process's ID into it. The lock lasts as
/// long as the descriptor is open. Blocks until then, at most for the given time, which an ending process may
/// take to let go; then the problem is `busy`, and names the process that holds the lock if that is known.
[[nodiscard]] Result<UniqueFd> takeLibraryLock(const std::string &path,
                                               std::chrono::milliseconds patience = std::chrono::seconds(10));

} // namespace wickerlane::hoardd

#endif

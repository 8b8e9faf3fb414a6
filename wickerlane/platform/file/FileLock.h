// Locking files among processes.
#ifndef WICKERLANE_PLATFORM_FILE_FILELOCK_H
#define WICKERLANE_PLATFORM_FILE_FILELOCK_H

#include <string>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

enum class FileLock { shared, exclusive };

// The lock is the open file's: it is released when the last descriptor of it is closed. On failure errno says
// why.

/// Waits until the file is locked. False on failure.
[[nodiscard]] WL_EXPORT bool lockFile(int descriptor, FileLock kind);

/// Doesn't wait. False on failure; with EWOULDBLOCK when another has the file locked.
[[nodiscard]] WL_EXPORT bool tryLockFile(int descriptor, FileLock kind);

/// Opens a file, which is made when it is missing, and waits until it is locked exclusively. No descriptor on
/// failure.
[[nodiscard]] WL_EXPORT UniqueFd openLocked(const std::string &path);

} // namespace wickerlane

#endif

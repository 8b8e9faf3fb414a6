// Copies of the store, which hoardd makes by itself.
#ifndef HOARDD_LIBRARY_STOREBACKUPS_H
#define HOARDD_LIBRARY_STOREBACKUPS_H

#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::hoardd {

[[nodiscard]] inline std::string backupsFolder(const store::LibraryPaths &paths) {
    return paths.folder() + "/PhotoData/Backups";
}

/// The backups of a library's store, the newest first.
[[nodiscard]] std::vector<std::string> storeBackups(const store::LibraryPaths &paths);

/// Whether the store has changed since the last backup and that is hours ago, or there is none.
[[nodiscard]] bool isBackupDue(const store::LibraryPaths &paths);

/// Copies the store as it is at one time, in small steps, so that no commit waits. The copy is checked before
/// it counts: `damagedStore` when it is not sound, and the older ones stay. Else the oldest go, so that a few
/// are left. `goesOn` is asked between steps; when it says no, the problem is `ending`.
[[nodiscard]] Result<> backUpStore(const store::LibraryPaths &paths, const Handler<bool()> &goesOn = {});

/// Fails with `damagedStore` and the first fault when a file is not a sound store with an identity.
[[nodiscard]] Result<> checkStoreFile(const std::string &path);

} // namespace wickerlane::hoardd

#endif

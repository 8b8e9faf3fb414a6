// Making a library again from a backup.
#ifndef CLI_BACKUP_LIBRARYRESTORE_H
#define CLI_BACKUP_LIBRARYRESTORE_H

#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::cli {

struct RestoreOutcome {
    bool isSameLibrary = false;    ///< It was there: only what it missed was filled in.
    std::size_t restored = 0;      ///< Files.
    std::size_t present = 0;       ///< Files that were there already.
    std::size_t replaced = 0;      ///< Originals that were no longer what was saved.
    std::vector<Problem> problems; ///< Of files that could not be restored.
};

/// Restores into an empty library, or fills in files that the same library misses. A library with other
/// assets is refused, and nothing that is there is overwritten: an original that is no longer what was saved
/// makes room by moving into PhotoData/LostAndFound. hoardd can't work on the library meanwhile.
Result<RestoreOutcome> restoreBackup(const store::LibraryPaths &paths, const std::string &folder);

} // namespace wickerlane::cli

#endif

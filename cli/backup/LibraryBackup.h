// Backing a library up, while hoardd may work on it.
#ifndef CLI_BACKUP_LIBRARYBACKUP_H
#define CLI_BACKUP_LIBRARYBACKUP_H

#include <cstdint>
#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::cli {

struct BackupOptions {
    std::string folder;
    bool verify = false; ///< Reads what is in the backup already, too.
    bool prune = false;
};

struct BackupOutcome {
    std::size_t originals = 0; ///< In the backup now.
    std::size_t copied = 0;    ///< Files that were not there.
    std::uint64_t copiedBytes = 0;
    std::size_t replaced = 0; ///< Of those, files that were damaged in the backup.
    std::size_t pruned = 0;
    std::vector<Problem> problems; ///< Of files that could not be backed up, or are missing in the library.
};

/// A failure leaves the earlier backup as it was, and what was copied is not copied again next time.
Result<BackupOutcome> backUp(const store::LibraryPaths &paths, const BackupOptions &options);

} // namespace wickerlane::cli

#endif

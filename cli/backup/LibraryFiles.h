// The files that a library consists of.
#ifndef CLI_BACKUP_LIBRARYFILES_H
#define CLI_BACKUP_LIBRARYFILES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::cli {

struct LibraryFile {
    std::string path;          ///< Relative to the library's folder.
    std::optional<Sha256> sum; ///< As the store has it; nothing when the store doesn't know the file.
    bool isOriginal = false;
    bool isCompanion = false;
    bool isFaulty = false; ///< hoardd has found that it is no longer what was saved.
};

/// Copies a library's store, as it is at one time, into a database of its own, and checks the copy.
Result<> copyStore(const store::LibraryPaths &paths, const std::string &to);
/// Opens such a copy, or another database that nothing else writes.
Result<sqlite::Database> openCheckedStore(const std::string &path);

Result<std::string> identityOf(sqlite::Database &store);
/// Assets, those in the trash included, and albums.
Result<std::uint64_t> countContents(sqlite::Database &store);

/// The files that a store lists, and those beside them that are a part of the library: thumbnails of its
/// assets, album copies, what was put aside. Left out are what is only under way, and files that no asset
/// has.
Result<std::vector<LibraryFile>> listLibraryFiles(const store::LibraryPaths &paths, sqlite::Database &store);

} // namespace wickerlane::cli

#endif

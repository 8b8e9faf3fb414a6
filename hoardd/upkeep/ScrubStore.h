// What the store notes of reading originals and companions again. The functions work in a transaction of the
// caller's.
#ifndef HOARDD_UPKEEP_SCRUBSTORE_H
#define HOARDD_UPKEEP_SCRUBSTORE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/store/CompanionReader.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/OriginalFault.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// An original, or a companion, as it was found when it was read last.
struct ScrubbedFile {
    AssetRecord asset;
    std::optional<store::Companion>
        companion; ///< Of the asset, if it is what was read; else its original was.
    double date =
        0; ///< In seconds since 2001-01-01 00:00:00 UTC: when it was read; when it was saved, before.
    /// When it had been written, in nanoseconds since 1970; nothing if it has not been read since it was
    /// saved.
    std::optional<std::int64_t> modified;
    store::OriginalFault fault = store::OriginalFault::none;
    std::string detail; ///< More about the fault, for people; may be empty.

    [[nodiscard]] std::string path(const store::LibraryPaths &paths) const {
        return companion ? store::companionPath(paths, asset.uuid, *companion) : paths.original(asset);
    }
    [[nodiscard]] std::uint64_t byteSize() const { return companion ? companion->byteSize : asset.byteSize; }
    [[nodiscard]] const Sha256 &sum() const { return companion ? companion->sha256 : asset.sha256; }
    /// Whether it is the same file, as it was found at one time or another.
    [[nodiscard]] bool isSameAs(const ScrubbedFile &other) const {
        return asset.primaryKey == other.asset.primaryKey &&
               companion.has_value() == other.companion.has_value();
    }
};

/// How many originals and companions there are.
[[nodiscard]] Result<std::int64_t> countFilesToScrub(sqlite::Database &database);
/// Those that were not read for the longest time.
[[nodiscard]] Result<std::vector<ScrubbedFile>> longestUnread(sqlite::Database &database, std::size_t limit);
/// Those with a fault, at most `limit`, in the order in which they were read.
[[nodiscard]] Result<std::vector<ScrubbedFile>> faultyFiles(sqlite::Database &database, std::size_t limit);
/// Whether the original or the companion of an asset has a fault.
[[nodiscard]] Result<bool> isFaulty(sqlite::Database &database, const AssetRecord &asset);
/// Notes what was found. Without effect when the asset has gone or has another file now.
[[nodiscard]] Result<> storeScrubbed(sqlite::Database &database, const ScrubbedFile &file);

} // namespace wickerlane::hoardd

#endif

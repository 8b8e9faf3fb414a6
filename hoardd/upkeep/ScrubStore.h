// What the store notes of reading originals again. The functions work in a transaction of the caller's.
#ifndef HOARDD_UPKEEP_SCRUBSTORE_H
#define HOARDD_UPKEEP_SCRUBSTORE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/store/AssetRecord.h"
#include "wickerlane/store/OriginalFault.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// An original as it was found when it was read last.
struct ScrubbedOriginal {
    store::AssetRecord asset;
    double date =
        0; ///< In seconds since 2001-01-01 00:00:00 UTC: when it was read; when it was saved, before.
    /// When it had been written, in nanoseconds since 1970; nothing if it has not been read since it was
    /// saved.
    std::optional<std::int64_t> modified;
    store::OriginalFault fault = store::OriginalFault::none;
    std::string detail; ///< More about the fault, for people; may be empty.
};

/// The originals that were not read for the longest time.
[[nodiscard]] Result<std::vector<ScrubbedOriginal>> longestUnread(sqlite::Database &database,
                                                                  std::size_t limit);
/// Those with a fault, at most `limit`, in the order in which they were read.
[[nodiscard]] Result<std::vector<ScrubbedOriginal>> faultyOriginals(sqlite::Database &database,
                                                                    std::size_t limit);
/// Notes what was found. Without effect when the asset has gone or has another original now.
[[nodiscard]] Result<> storeScrubbed(sqlite::Database &database, const ScrubbedOriginal &original);

} // namespace wickerlane::hoardd

#endif

// How the store's database is laid out.
#ifndef WICKERLANE_STORE_SCHEMA_H
#define WICKERLANE_STORE_SCHEMA_H

#include <cstdint>
#include <span>
#include <string>

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// What lays out the database, in steps: each is SQL that builds on those before it, and one that has been
/// released is never changed.
WL_EXPORT std::span<const char *const> schemaSteps() noexcept;

/// Version of the model: how many steps there are. The database's user_version says how many of them it has;
/// 0 means that nothing has been laid out yet.
[[nodiscard]] inline std::int64_t modelVersion() noexcept {
    return static_cast<std::int64_t>(schemaSteps().size());
}

/// Takes the steps that a database lacks, in the caller's transaction.
[[nodiscard]] WL_EXPORT Result<> layOut(sqlite::Database &database);

/// One row: how many photos and how many videos there are. Triggers keep the numbers, in the transaction that
/// adds or deletes an asset.
inline constexpr const char *selectCounts = "SELECT (SELECT number FROM zcount WHERE kind = 0), "
                                            "(SELECT number FROM zcount WHERE kind = 1), "
                                            "(SELECT bytes FROM zcount WHERE kind = 0), "
                                            "(SELECT bytes FROM zcount WHERE kind = 1)";

/// Counts again what the triggers keep.
inline constexpr const char *recountAssets =
    "UPDATE zcount SET (number, bytes) = (SELECT count(*), coalesce(sum(bytesize), 0) FROM zgenericasset "
    "WHERE zgenericasset.kind = zcount.kind);";

} // namespace wickerlane::store

#endif

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

/// What the store says of an asset besides its row, and what a person would miss: it goes into the trash with
/// the asset and comes back with it. All else that refers to an asset is found out again.
struct TrashedTable {
    const char *name;      ///< Of the table of what is not in the trash.
    const char *trash;     ///< Of the table of what is, which has the same columns.
    const char *ofAsset;   ///< Which rows are those of an asset, whose primary key is ?1.
    const char *canReturn; ///< Which rows may come back.
};
/// The first is that of the assets themselves.
WL_EXPORT std::span<const TrashedTable> trashedTables() noexcept;

/// Takes the steps that a database lacks, in the caller's transaction.
[[nodiscard]] WL_EXPORT Result<> layOut(sqlite::Database &database);

/// One row: how many photos and how many videos there are. Triggers keep the numbers, in the transaction that
/// adds or deletes an asset.
inline constexpr const char *selectCounts = "SELECT (SELECT number FROM zcount WHERE kind = 0), "
                                            "(SELECT number FROM zcount WHERE kind = 1), "
                                            "(SELECT bytes FROM zcount WHERE kind = 0), "
                                            "(SELECT bytes FROM zcount WHERE kind = 1)";

} // namespace wickerlane::store

#endif

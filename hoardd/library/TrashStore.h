// The trash in the store. The functions work in a transaction of the caller's.
#ifndef HOARDD_LIBRARY_TRASHSTORE_H
#define HOARDD_LIBRARY_TRASHSTORE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// Moves all that the store says of an asset into the trash. Whether there was one.
[[nodiscard]] Result<bool> moveToTrash(sqlite::Database &database, std::string_view uuid, double date);

/// Moves it back, into the albums that are still there. Whether the trash had it.
[[nodiscard]] Result<bool> takeFromTrash(sqlite::Database &database, std::string_view uuid);

/// Forgets an asset that is in the trash.
[[nodiscard]] Result<> deleteFromTrash(sqlite::Database &database, std::string_view uuid);

/// After rows were put into the trash that had not come there by themselves: none has the primary key of an
/// asset, and no asset will get one of theirs.
[[nodiscard]] Result<> keepKeysOfTrash(sqlite::Database &database);

[[nodiscard]] Result<bool> isInTrash(sqlite::Database &database, std::string_view uuid);

/// The UUID of an asset in the trash whose original has that sum, the latest; nothing when there is none.
[[nodiscard]] Result<std::optional<std::string>> trashedWithSum(sqlite::Database &database,
                                                                const Sha256 &sum);

/// What came into the trash until a date, the oldest first.
[[nodiscard]] Result<std::vector<AssetRecord>> trashedUntil(sqlite::Database &database, double date);

} // namespace wickerlane::hoardd

#endif

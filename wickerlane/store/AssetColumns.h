// How records of assets come into the asset table and out of it.
#ifndef WICKERLANE_STORE_ASSETCOLUMNS_H
#define WICKERLANE_STORE_ASSETCOLUMNS_H

#include <optional>
#include <string_view>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// Inserts what bindRecord() binds.
WL_EXPORT extern const std::string_view insertAsset;

/// Gives rows for readRecord(); to be followed by what narrows it.
WL_EXPORT extern const std::string_view selectAssets;

/// The same of the assets in the trash; the column after those of the record is when they came there.
WL_EXPORT extern const std::string_view selectTrashedAssets;
WL_EXPORT extern const int trashedDateColumn;

/// Binds a record, which must stay unchanged until the statement has run. Its primary key is left out: the
/// table gives it.
WL_EXPORT void bindRecord(sqlite::Statement &statement, const AssetRecord &record);

// What a column of the current row holds.

[[nodiscard]] WL_EXPORT AssetKind kindIn(const sqlite::Statement &row, int column);
/// Padded with zeros or cut, should the column hold anything else than a sum.
[[nodiscard]] WL_EXPORT Sha256 sumIn(const sqlite::Statement &row, int column);
[[nodiscard]] WL_EXPORT std::optional<double> optionalRealIn(const sqlite::Statement &row, int column);

/// The record in the current row.
[[nodiscard]] WL_EXPORT AssetRecord readRecord(const sqlite::Statement &row);
/// The same into a record that is used for one row after the other, whose texts keep their memory.
WL_EXPORT void readRecordInto(AssetRecord &record, const sqlite::Statement &row);

} // namespace wickerlane::store

#endif

// How the store's database is laid out.
#ifndef WICKERLANE_STORE_SCHEMA_H
#define WICKERLANE_STORE_SCHEMA_H

#include <cstdint>
#include <string>

#include "wickerlane/store/AssetRecord.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// Version of the model, kept in the database's user_version. 0 there means that nothing has been laid out
/// yet.
inline constexpr std::int64_t modelVersion = 1;

/// Lays out an empty database.
inline constexpr const char *createSchema = R"sql(
CREATE TABLE zlibrary (
    uuid TEXT NOT NULL
);
CREATE TABLE zgenericasset (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    uuid TEXT NOT NULL UNIQUE,
    kind INTEGER NOT NULL CHECK (kind IN (0, 1)),
    directory TEXT NOT NULL,
    filename TEXT NOT NULL,
    originalfilename TEXT NOT NULL,
    format TEXT NOT NULL,
    width INTEGER NOT NULL,
    height INTEGER NOT NULL,
    orientation INTEGER NOT NULL,
    datecreated REAL NOT NULL,
    dateadded REAL NOT NULL,
    latitude REAL,
    longitude REAL,
    bytesize INTEGER NOT NULL,
    sha256 BLOB NOT NULL CHECK (length(sha256) = 32),
    thumbnailindex INTEGER NOT NULL,
    problem TEXT NOT NULL
);
CREATE INDEX zgenericasset_datecreated ON zgenericasset (datecreated);
CREATE INDEX zgenericasset_kind ON zgenericasset (kind);
PRAGMA user_version = 1;
)sql";

/// The columns of the asset table in the order in which readRecord() takes them and bindRecord() gives them;
/// the primary key stands before them in a row that is read.
#define WL_ASSET_COLUMNS                                                                                   \
    "uuid, kind, directory, filename, originalfilename, format, width, height, orientation, datecreated, " \
    "dateadded, latitude, longitude, bytesize, sha256, thumbnailindex, problem"

inline constexpr const char *insertAsset =
    "INSERT INTO zgenericasset (" WL_ASSET_COLUMNS ") VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";

/// To be followed by what narrows it.
inline constexpr const char *selectAssets = "SELECT pk, " WL_ASSET_COLUMNS " FROM zgenericasset ";

#undef WL_ASSET_COLUMNS

/// Binds a record, which must stay unchanged until the statement has run, to `insertAsset`.
WL_EXPORT void bindRecord(sqlite::Statement &statement, const AssetRecord &record);

/// The record in the current row of a statement made from `selectAssets`.
WL_EXPORT AssetRecord readRecord(const sqlite::Statement &statement);

} // namespace wickerlane::store

#endif

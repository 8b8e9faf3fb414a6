#include "wickerlane/store/Schema.h"

#include <algorithm>

namespace wickerlane::store {

namespace {

constexpr const char *assets = R"sql(
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
)sql";

constexpr const char *renditions = R"sql(
CREATE TABLE zrendition (
    assetuuid TEXT PRIMARY KEY REFERENCES zgenericasset (uuid) ON DELETE CASCADE,
    filename TEXT NOT NULL,
    sha256 BLOB NOT NULL,
    dateadded REAL NOT NULL,
    properties BLOB NOT NULL
);
)sql";

constexpr const char *durations = R"sql(
ALTER TABLE zgenericasset ADD COLUMN duration REAL NOT NULL DEFAULT 0;
)sql";

constexpr const char *sums = R"sql(
CREATE INDEX zgenericasset_sha256 ON zgenericasset (sha256);
)sql";

// Counting the rows themselves would take longer the more there are: 5 ms for 100,000.
constexpr const char *counts = R"sql(
CREATE TABLE zcount (
    kind INTEGER PRIMARY KEY,
    number INTEGER NOT NULL
);
INSERT INTO zcount VALUES (0, (SELECT count(*) FROM zgenericasset WHERE kind = 0)),
                          (1, (SELECT count(*) FROM zgenericasset WHERE kind = 1));
CREATE TRIGGER zgenericasset_added AFTER INSERT ON zgenericasset BEGIN
    UPDATE zcount SET number = number + 1 WHERE kind = new.kind;
END;
CREATE TRIGGER zgenericasset_deleted AFTER DELETE ON zgenericasset BEGIN
    UPDATE zcount SET number = number - 1 WHERE kind = old.kind;
END;
CREATE TRIGGER zgenericasset_kindchanged AFTER UPDATE OF kind ON zgenericasset BEGIN
    UPDATE zcount SET number = number - 1 WHERE kind = old.kind;
    UPDATE zcount SET number = number + 1 WHERE kind = new.kind;
END;
)sql";

// New tables and columns are added by a step of their own at the end.
constexpr const char *steps[] = {assets, renditions, durations, sums, counts};

} // namespace

std::span<const char *const> schemaSteps() noexcept {
    return steps;
}

bool layOut(sqlite::Database &database) {
    const auto taken = database.integer("PRAGMA user_version");
    if (!taken || *taken < 0 || *taken > modelVersion())
        return false;
    for (const char *step : schemaSteps().subspan(static_cast<std::size_t>(*taken)))
        if (!database.execute(step))
            return false;
    return database.execute(("PRAGMA user_version = " + std::to_string(modelVersion())).c_str());
}

void bindRecord(sqlite::Statement &statement, const AssetRecord &record) {
    statement.bind(record.uuid, static_cast<int>(record.kind), record.directory, record.filename,
                   record.originalFilename, record.format, record.width, record.height, record.orientation,
                   record.dateCreated, record.dateAdded, record.latitude, record.longitude, record.byteSize,
                   Bytes(record.sha256), record.thumbnailIndex, record.problem, record.duration);
}

AssetRecord readRecord(const sqlite::Statement &statement) {
    AssetRecord record;
    int column = 0;
    const auto integer = [&] { return statement.integer(column++); };
    const auto text = [&] { return std::string(statement.text(column++)); };
    const auto optionalReal = [&]() -> std::optional<double> {
        const int at = column++;
        return statement.isNull(at) ? std::nullopt : std::optional(statement.real(at));
    };
    record.primaryKey = integer();
    record.uuid = text();
    record.kind = integer() == 1 ? AssetKind::video : AssetKind::photo;
    record.directory = text();
    record.filename = text();
    record.originalFilename = text();
    record.format = text();
    record.width = static_cast<std::uint32_t>(integer());
    record.height = static_cast<std::uint32_t>(integer());
    record.orientation = static_cast<std::uint32_t>(integer());
    record.dateCreated = statement.real(column++);
    record.dateAdded = statement.real(column++);
    record.latitude = optionalReal();
    record.longitude = optionalReal();
    record.byteSize = static_cast<std::uint64_t>(integer());
    const Bytes sum = statement.blob(column++);
    std::copy_n(sum.begin(), std::min(sum.size(), record.sha256.size()), record.sha256.begin());
    record.thumbnailIndex = integer();
    record.problem = text();
    record.duration = statement.real(column++);
    return record;
}

} // namespace wickerlane::store

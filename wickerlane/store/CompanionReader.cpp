#include "wickerlane/store/CompanionReader.h"

#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/UUIDList.h"

namespace wickerlane::store {

using sqlite::Database;
using sqlite::Statement;

namespace {

std::string selectFrom(std::string_view table) {
    return std::string("SELECT assetuuid, filename, originalfilename, format, bytesize, sha256 FROM ")
        .append(table);
}

Companion companionIn(const Statement &row) {
    return {std::string(row.text(1)), std::string(row.text(2)), std::string(row.text(3)),
            static_cast<std::uint64_t>(row.integer(4)), sumIn(row, 5)};
}

} // namespace

std::string companionFolder(const LibraryPaths &paths, std::string_view uuid) {
    return paths.folder() + "/PhotoData/Companions/" + std::string(uuid.substr(0, 2));
}

std::string companionPath(const LibraryPaths &paths, std::string_view uuid, const Companion &companion) {
    return companionFolder(paths, uuid) + '/' + companion.filename;
}

Result<Companions> readCompanions(Database &database, std::string_view table) {
    Companions companions;
    const auto read = database.prepare(selectFrom(table)).forEach([&](const Statement &row) {
        companions.emplace(row.text(0), companionIn(row));
    });
    if (!read)
        return passOn(read);
    return companions;
}

Result<Companions> readCompanions(const LibraryPaths &paths) {
    auto database = Database::open(paths.database(), Database::Access::read);
    if (!database)
        return passOn(database);
    return readCompanions(*database);
}

Result<Companions> readCompanions(Database &database, std::span<const std::string_view> uuids) {
    Companions companions;
    const auto read =
        database.prepare(selectFrom(companionTable) + " WHERE assetuuid" + std::string(isInUUIDList))
            .bind(uuidList(uuids))
            .forEach([&](const Statement &row) { companions.emplace(row.text(0), companionIn(row)); });
    if (!read)
        return passOn(read);
    return companions;
}

Result<std::optional<Companion>> readCompanion(Database &database, std::string_view uuid) {
    return database.prepare(selectFrom(companionTable) + " WHERE assetuuid = ?")
        .bind(uuid)
        .first(companionIn);
}

} // namespace wickerlane::store

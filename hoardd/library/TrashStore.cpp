#include "hoardd/library/TrashStore.h"

#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;
using store::TrashedTable;

namespace {

Result<std::optional<std::int64_t>> keyOf(Database &database, std::string_view table, std::string_view uuid) {
    return database.prepare(std::string("SELECT pk FROM ").append(table).append(" WHERE uuid = ?"))
        .bind(uuid)
        .first([](const Statement &row) { return row.integer(0); });
}

Result<std::string> columnsOf(Database &database, const char *table) {
    const auto names = database.prepare("SELECT group_concat(name) FROM pragma_table_info(?)")
                           .bind(table)
                           .first([](const Statement &row) { return std::string(row.text(0)); });
    if (!names)
        return passOn(names);
    return names->value_or("");
}

/// Copies the rows of an asset that fulfil a condition from one table into another.
Result<> copyRows(Database &database, const TrashedTable &table, const std::string &from,
                  const std::string &into, const std::string &condition, std::int64_t asset) {
    const auto columns = columnsOf(database, table.name);
    if (!columns)
        return passOn(columns);
    return database
        .prepare("INSERT INTO " + into + " (" + *columns + ") SELECT " + *columns + " FROM " + from +
                 " WHERE " + condition)
        .bind(asset)
        .run();
}

Result<> deleteRows(Database &database, const std::string &table, const std::string &condition,
                    std::int64_t asset) {
    return database.prepare("DELETE FROM " + table + " WHERE " + condition).bind(asset).run();
}

/// The bulletins that counted an asset when it was added to their albums count it again, and so does the one
/// that counted its original or its companion, if that is still faulty.
Result<> countInBulletins(Database &database, std::int64_t asset) {
    return database
        .prepare("UPDATE zbulletin SET photos = photos + (SELECT kind = 0 FROM zgenericasset WHERE pk = ?1), "
                 "videos = videos + (SELECT kind = 1 FROM zgenericasset WHERE pk = ?1), "
                 "asset = coalesce(asset, ?1) "
                 "WHERE EXISTS (SELECT 1 FROM zalbumasset WHERE zalbumasset.album = zbulletin.album AND "
                 "zalbumasset.asset = ?1 AND dateadded BETWEEN originaldate AND date) "
                 "OR (type = 1 AND originalrecordid = "
                 "(SELECT bulletin FROM zscrub WHERE zscrub.asset = ?1 AND (fault <> 0 OR "
                 "EXISTS (SELECT 1 FROM zcompanionscrub AS other WHERE other.asset = ?1 AND fault <> 0))))")
        .bind(asset)
        .run();
}

} // namespace

Result<bool> moveToTrash(Database &database, std::string_view uuid, double date) {
    const auto asset = keyOf(database, "zgenericasset", uuid);
    if (!asset)
        return passOn(asset);
    if (!*asset)
        return false;
    for (const TrashedTable &table : store::trashedTables())
        if (const auto copied = copyRows(database, table, table.name, table.trash, table.ofAsset, **asset);
            !copied)
            return passOn(copied);
    const auto dated =
        database.prepare("UPDATE ztrashedasset SET datetrashed = ? WHERE pk = ?").bind(date, **asset).run();
    if (!dated)
        return passOn(dated);
    // All else that is said of it goes with it.
    return deleteRows(database, "zgenericasset", "pk = ?1", **asset).map([] { return true; });
}

Result<bool> takeFromTrash(Database &database, std::string_view uuid) {
    const auto asset = keyOf(database, "ztrashedasset", uuid);
    if (!asset)
        return passOn(asset);
    if (!*asset)
        return false;
    for (const TrashedTable &table : store::trashedTables()) {
        const std::string condition = std::string(table.ofAsset) + " AND " + table.canReturn;
        const auto moved =
            copyRows(database, table, table.trash, table.name, condition, **asset).and_then([&] {
                return deleteRows(database, table.trash, condition, **asset);
            });
        if (!moved)
            return passOn(moved);
    }
    return countInBulletins(database, **asset).map([] { return true; });
}

Result<> deleteFromTrash(Database &database, std::string_view uuid) {
    const auto asset = keyOf(database, "ztrashedasset", uuid);
    if (!asset)
        return passOn(asset);
    if (!*asset)
        return {};
    // That of the assets last, since it says whose the other rows are.
    const auto tables = store::trashedTables();
    for (auto table = tables.rbegin(); table != tables.rend(); ++table)
        if (const auto deleted = deleteRows(database, table->trash, table->ofAsset, **asset); !deleted)
            return deleted;
    return {};
}

Result<> keepKeysOfTrash(Database &database) {
    return database.execute(
        "UPDATE ztrashedasset SET pk = rowid + (SELECT max(pk) FROM (SELECT pk FROM ztrashedasset UNION ALL "
        "SELECT pk FROM zgenericasset UNION ALL SELECT seq FROM sqlite_sequence WHERE name = "
        "'zgenericasset')) WHERE pk IN (SELECT pk FROM zgenericasset);"
        "INSERT INTO sqlite_sequence (name, seq) SELECT 'zgenericasset', 0 WHERE NOT EXISTS "
        "(SELECT 1 FROM sqlite_sequence WHERE name = 'zgenericasset');"
        "UPDATE sqlite_sequence SET seq = max(seq, coalesce((SELECT max(pk) FROM ztrashedasset), 0)) "
        "WHERE name = 'zgenericasset';");
}

Result<bool> isInTrash(Database &database, std::string_view uuid) {
    return database.prepare("SELECT 1 FROM ztrashedasset WHERE uuid = ?").bind(uuid).any();
}

Result<std::optional<std::string>> trashedWithSum(Database &database, const Sha256 &sum) {
    return database
        .prepare("SELECT uuid FROM ztrashedasset WHERE sha256 = ?1 "
                 "OR uuid IN (SELECT assetuuid FROM ztrashedcompanion WHERE sha256 = ?1) "
                 "ORDER BY sha256 = ?1 DESC, datetrashed DESC, pk LIMIT 1")
        .bind(Bytes(sum))
        .first([](const Statement &row) { return std::string(row.text(0)); });
}

Result<std::vector<AssetRecord>> trashedUntil(Database &database, double date) {
    return database
        .prepare(std::string(store::selectTrashedAssets) + "WHERE datetrashed <= ? ORDER BY datetrashed, pk")
        .bind(date)
        .all(store::readRecord);
}

} // namespace wickerlane::hoardd

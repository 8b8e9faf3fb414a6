#include "hoardd/upkeep/ScrubStore.h"

#include "wickerlane/store/AssetColumns.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;
using store::OriginalFault;

namespace {

/// `condition` is about the table of what was noted of them.
Result<std::vector<ScrubbedFile>> select(Database &database, const std::string &condition,
                                         std::size_t limit) {
    const std::string columns = ", coalesce(date, dateadded) AS lastread, modified, coalesce(fault, 0), "
                                "coalesce(detail, '') FROM zgenericasset ";
    auto files = database
                     .prepare("SELECT zgenericasset.pk, 0 AS iscompanion" + columns +
                              "LEFT JOIN zscrub ON zscrub.asset = zgenericasset.pk " + condition +
                              " UNION ALL SELECT zgenericasset.pk, 1" + columns +
                              "JOIN zcompanion ON assetuuid = uuid "
                              "LEFT JOIN zcompanionscrub ON zcompanionscrub.asset = zgenericasset.pk " +
                              condition + " ORDER BY lastread, 1, iscompanion LIMIT ?")
                     .bind(limit)
                     .all([](const Statement &row) {
                         ScrubbedFile file;
                         file.asset.primaryKey = row.integer(0);
                         if (row.integer(1) != 0)
                             file.companion.emplace();
                         file.date = row.real(2);
                         file.modified = row.isNull(3) ? std::nullopt : std::optional(row.integer(3));
                         file.fault = static_cast<OriginalFault>(row.integer(4));
                         file.detail = row.text(5);
                         return file;
                     });
    if (!files)
        return files;
    auto record = database.prepare(std::string(store::selectAssets) + "WHERE pk = ?");
    for (ScrubbedFile &each : *files) {
        auto asset = record.bind(each.asset.primaryKey).first(store::readRecord);
        if (!asset)
            return passOn(asset);
        if (*asset)
            each.asset = **std::move(asset);
        if (!each.companion)
            continue;
        auto companion = store::readCompanion(database, each.asset.uuid);
        if (!companion)
            return passOn(companion);
        each.companion = *std::move(companion);
    }
    return files;
}

} // namespace

Result<std::int64_t> countFilesToScrub(Database &database) {
    return database.integer("SELECT (SELECT sum(number) FROM zcount) + (SELECT count(*) FROM zcompanion)");
}

Result<std::vector<ScrubbedFile>> longestUnread(Database &database, std::size_t limit) {
    return select(database, "", limit);
}

Result<std::vector<ScrubbedFile>> faultyFiles(Database &database, std::size_t limit) {
    return select(database, "WHERE fault <> 0", limit);
}

Result<bool> isFaulty(Database &database, const AssetRecord &asset) {
    return database
        .prepare("SELECT 1 FROM zscrub WHERE asset = ?1 AND fault <> 0 UNION ALL "
                 "SELECT 1 FROM zcompanionscrub WHERE asset = ?1 AND fault <> 0")
        .bind(asset.primaryKey)
        .any();
}

Result<> storeScrubbed(Database &database, const ScrubbedFile &file) {
    const std::string table = file.companion ? "zcompanionscrub" : "zscrub";
    const std::string files = file.companion ? "zcompanion JOIN zgenericasset ON uuid = assetuuid "
                                               "WHERE zgenericasset.pk = ? AND zcompanion.sha256 = ? "
                                             : "zgenericasset WHERE pk = ? AND sha256 = ? ";
    return database
        .prepare("INSERT INTO " + table +
                 " (asset, date, modified, fault, detail) SELECT zgenericasset.pk, ?, ?, ?, ? FROM " + files +
                 "ON CONFLICT (asset) DO UPDATE SET date = excluded.date, modified = excluded.modified, "
                 "fault = excluded.fault, detail = excluded.detail")
        .bind(file.date, file.modified, static_cast<std::int64_t>(file.fault), file.detail,
              file.asset.primaryKey, Bytes(file.sum()))
        .run();
}

} // namespace wickerlane::hoardd

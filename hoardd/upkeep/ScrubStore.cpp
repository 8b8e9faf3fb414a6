#include "hoardd/upkeep/ScrubStore.h"

#include "wickerlane/store/AssetColumns.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;
using store::OriginalFault;

namespace {

Result<std::vector<ScrubbedOriginal>> select(Database &database, const char *rest, std::size_t limit) {
    auto originals =
        database
            .prepare(std::string("SELECT zgenericasset.pk, coalesce(date, dateadded) AS lastread, modified, "
                                 "coalesce(fault, 0), coalesce(detail, '') FROM zgenericasset "
                                 "LEFT JOIN zscrub ON zscrub.asset = zgenericasset.pk ") +
                     rest + " ORDER BY lastread, zgenericasset.pk LIMIT ?")
            .bind(limit)
            .all([](const Statement &row) {
                ScrubbedOriginal original;
                original.asset.primaryKey = row.integer(0);
                original.date = row.real(1);
                original.modified = row.isNull(2) ? std::nullopt : std::optional(row.integer(2));
                original.fault = static_cast<OriginalFault>(row.integer(3));
                original.detail = row.text(4);
                return original;
            });
    if (!originals)
        return originals;
    auto record = database.prepare(std::string(store::selectAssets) + "WHERE pk = ?");
    for (ScrubbedOriginal &each : *originals) {
        auto asset = record.bind(each.asset.primaryKey).first(store::readRecord);
        if (!asset)
            return passOn(asset);
        if (*asset)
            each.asset = **std::move(asset);
    }
    return originals;
}

} // namespace

Result<std::vector<ScrubbedOriginal>> longestUnread(Database &database, std::size_t limit) {
    return select(database, "", limit);
}

Result<std::vector<ScrubbedOriginal>> faultyOriginals(Database &database, std::size_t limit) {
    return select(database, "WHERE fault <> 0", limit);
}

Result<> storeScrubbed(Database &database, const ScrubbedOriginal &original) {
    return database
        .prepare("INSERT INTO zscrub (asset, date, modified, fault, detail) "
                 "SELECT pk, ?, ?, ?, ? FROM zgenericasset WHERE pk = ? AND sha256 = ? "
                 "ON CONFLICT (asset) DO UPDATE SET date = excluded.date, modified = excluded.modified, "
                 "fault = excluded.fault, detail = excluded.detail")
        .bind(original.date, original.modified, static_cast<std::int64_t>(original.fault), original.detail,
              original.asset.primaryKey, Bytes(original.asset.sha256))
        .run();
}

} // namespace wickerlane::hoardd

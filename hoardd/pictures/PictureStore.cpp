#include "hoardd/pictures/PictureStore.h"

#include "hoardd/library/Clock.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

Result<> storeNotDue(Database &database, std::int64_t asset) {
    return database.prepare("DELETE FROM zduethumbnail WHERE asset = ?").bind(asset).run();
}

} // namespace

Result<> storeRendition(Database &database, std::int64_t asset, const RenditionRow &row) {
    return database.prepare("INSERT OR REPLACE INTO zrendition VALUES (?, ?, ?, ?, ?)")
        .bind(row.assetUUID, row.filename, Bytes(row.sum), secondsNow(), row.properties)
        .run()
        .and_then([&] {
            return database.prepare("INSERT OR IGNORE INTO zduethumbnail VALUES (?)").bind(asset).run();
        });
}

Result<> storeThumbnails(Database &database, std::int64_t asset, bool newIndex) {
    return database
        .prepare("UPDATE zgenericasset SET thumbnailindex = thumbnailindex + 1 WHERE pk = ? AND "
                 "(? OR pk IN (SELECT asset FROM zduethumbnail))")
        .bind(asset, newIndex)
        .run()
        .and_then([&] {
            return database
                .prepare("UPDATE zgenericasset SET previewpurged = 0 WHERE pk = ? AND previewpurged")
                .bind(asset)
                .run();
        })
        .and_then([&] { return storeNotDue(database, asset); });
}

Result<> storeUndecodable(Database &database, std::int64_t asset, std::string_view reason) {
    return database
        .prepare("UPDATE zgenericasset SET problem = ?, width = 0, height = 0 "
                 "WHERE pk IN (SELECT asset FROM zduethumbnail WHERE asset = ?)")
        .bind(reason, asset)
        .run()
        .and_then([&] { return storeNotDue(database, asset); });
}

Result<> storePurgedPreview(Database &database, std::string_view uuid) {
    return database.prepare("UPDATE zgenericasset SET previewpurged = 1 WHERE uuid = ?").bind(uuid).run();
}

Result<std::vector<std::string>> sharedAssetsWithThumbnails(Database &database) {
    return database
        .prepare("SELECT uuid FROM zgenericasset WHERE thumbnailindex > 0 AND pk IN "
                 "(SELECT asset FROM zalbumasset JOIN zalbum ON zalbum.pk = album "
                 "WHERE streamid IS NOT NULL) ORDER BY pk")
        .all([](const sqlite::Statement &row) { return std::string(row.text(0)); });
}

} // namespace wickerlane::hoardd

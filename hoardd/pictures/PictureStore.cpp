#include "hoardd/pictures/PictureStore.h"

#include "hoardd/library/Clock.h"
#include "wickerlane/store/AssetColumns.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

Result<> storeNotDue(Database &database, std::int64_t asset) {
    // As long as its facts are due, the asset is looked at again.
    return database
        .prepare("DELETE FROM zduethumbnail WHERE asset = ? AND asset NOT IN (SELECT asset FROM zduefacts)")
        .bind(asset)
        .run();
}

Result<> storeDue(Database &database, std::int64_t asset) {
    return database.prepare("INSERT OR REPLACE INTO zduethumbnail (asset) VALUES (?)").bind(asset).run();
}

} // namespace

Result<> storeDerivedChange(Database &database, std::int64_t asset) {
    return database
        .prepare("UPDATE zgenericasset SET derivedbytes = -1 WHERE pk = ? AND derivedbytes IS NOT -1")
        .bind(asset)
        .run();
}

Result<> storeDerivedBytes(Database &database, std::string_view table, std::int64_t asset,
                           std::uint64_t bytes) {
    return database
        .prepare(std::string("UPDATE ").append(table).append(
            " SET derivedbytes = iif(pk IN (SELECT asset FROM zduethumbnail WHERE made = 0), NULL, ?) WHERE "
            "pk = ?"))
        .bind(bytes, asset)
        .run();
}

Result<> storeRendition(Database &database, std::int64_t asset, const RenditionRow &row) {
    return database.prepare("INSERT OR REPLACE INTO zrendition VALUES (?, ?, ?, ?, ?)")
        .bind(row.assetUUID, row.filename, Bytes(row.sum), secondsNow(), row.properties)
        .run()
        .and_then([&] { return storeDue(database, asset); })
        .and_then([&] { return storeDerivedChange(database, asset); });
}

Result<std::vector<std::string>> assetsEditedAfter(Database &database, double date) {
    return database.prepare("SELECT assetuuid FROM zrendition WHERE dateadded > ? ORDER BY dateadded")
        .bind(date)
        .all([](const sqlite::Statement &row) { return std::string(row.text(0)); });
}

namespace {

Result<> storeShown(Database &database, std::int64_t asset, bool newIndex) {
    return database
        .prepare("UPDATE zgenericasset SET thumbnailindex = thumbnailindex + 1 WHERE pk = ? AND "
                 "(? OR pk IN (SELECT asset FROM zduethumbnail WHERE made = 0))")
        .bind(asset, newIndex)
        .run()
        .and_then([&] {
            return database
                .prepare("UPDATE zgenericasset SET previewpurged = 0 WHERE pk = ? AND previewpurged")
                .bind(asset)
                .run();
        });
}

} // namespace

Result<> storeThumbnails(Database &database, std::int64_t asset, bool newIndex) {
    return storeShown(database, asset, newIndex).and_then([&] { return storeNotDue(database, asset); });
}

Result<> storeDueThumbnails(Database &database, std::int64_t asset, std::int64_t round) {
    return storeShown(database, asset, false).and_then([&] {
        return database
            .prepare("UPDATE zduethumbnail SET made = ? "
                     "WHERE asset = ? AND asset NOT IN (SELECT asset FROM zduefacts)")
            .bind(round, asset)
            .run();
    });
}

Result<> storeUndecodable(Database &database, std::int64_t asset, std::string_view reason,
                          std::string_view decoders) {
    return database
        .prepare("UPDATE zgenericasset SET problem = ?, width = 0, height = 0 "
                 "WHERE pk IN (SELECT asset FROM zduethumbnail WHERE asset = ?)")
        .bind(reason, asset)
        .run()
        .and_then([&] {
            return database
                .prepare(
                    "INSERT OR REPLACE INTO zundecodable SELECT asset, ? FROM zduethumbnail WHERE asset = ?")
                .bind(decoders, asset)
                .run();
        })
        .and_then([&] { return storeNotDue(database, asset); });
}

Result<> storeFacts(Database &database, const AssetRecord &record, bool withDate) {
    return database
        .prepare("UPDATE zgenericasset SET format = ?, width = ?, height = ?, orientation = ?, duration = ?, "
                 "latitude = ?, longitude = ?, problem = ? WHERE pk = ?")
        .bind(record.format, record.width, record.height, record.orientation, record.duration,
              record.latitude, record.longitude, record.problem, record.primaryKey)
        .run()
        .and_then([&]() -> Result<> {
            if (!withDate)
                return {};
            return database
                .prepare(
                    "UPDATE zgenericasset SET datecreated = ?, clockdate = ?, zoneminutes = ? WHERE pk = ?")
                .bind(record.dateCreated, record.clockDate, record.zoneMinutes, record.primaryKey)
                .run();
        })
        .and_then([&] { return storeDetails(database, record); })
        .and_then([&] {
            return database.prepare("DELETE FROM zduefacts WHERE asset = ?").bind(record.primaryKey).run();
        })
        .and_then([&] {
            return database.prepare("DELETE FROM zundecodable WHERE asset = ?").bind(record.primaryKey).run();
        });
}

Result<std::vector<AssetRecord>> assetsWithLateFacts(Database &database, std::int64_t last,
                                                     std::size_t limit) {
    // Each half has an index of its own.
    return database
        .prepare(std::string(store::selectAssets) +
                 "WHERE pk IN (SELECT pk FROM zgenericasset WHERE clockdate IS NULL AND pk > ?1 "
                 "UNION SELECT pk FROM zgenericasset WHERE duedetails <> 0 AND pk > ?1 "
                 "EXCEPT SELECT asset FROM zduefacts ORDER BY 1 LIMIT ?2) ORDER BY pk")
        .bind(last, limit)
        .all(store::readRecord);
}

Result<> storeClock(Database &database, const AssetRecord &record) {
    return database
        .prepare("UPDATE zgenericasset SET clockdate = ?, zoneminutes = ? "
                 "WHERE pk = ? AND clockdate IS NULL AND datecreated = ?")
        .bind(record.clockDate, record.zoneMinutes, record.primaryKey, record.dateCreated)
        .run();
}

Result<> storeDetails(Database &database, const AssetRecord &record) {
    const auto unlessSet = [](const char *column, DueDetail due) {
        return std::string(column) + " = iif(duedetails & " + std::to_string(due) + ", ?, " + column + "), ";
    };
    return database
        .prepare("UPDATE zgenericasset SET camera = ?, lens = ?, exposureseconds = ?, aperture = ?, "
                 "isospeed = ?, focallength = ?, " +
                 unlessSet("rating", dueRating) + unlessSet("caption", dueCaption) +
                 unlessSet("keywords", dueKeywords) +
                 "duedetails = duedetails & ? WHERE pk = ? AND duedetails <> 0")
        .bind(record.camera, record.lens, record.exposureSeconds, record.aperture, record.isoSpeed,
              record.focalLength, record.rating, record.caption, record.keywords, record.dueDetails,
              record.primaryKey)
        .run();
}

Result<std::int64_t> storeUndecodableDue(Database &database, std::optional<std::string_view> decoders) {
    return database
        .prepare(
            "INSERT OR REPLACE INTO zduethumbnail (asset) SELECT pk FROM zgenericasset WHERE problem <> '' "
            "AND width = 0 AND pk NOT IN (SELECT asset FROM zundecodable WHERE decoders = ?)")
        .bind(decoders)
        .run()
        .and_then([&] { return database.integer("SELECT changes()"); });
}

Result<> storePurgedPreview(Database &database, std::string_view uuid) {
    return database.prepare("UPDATE zgenericasset SET previewpurged = 1 WHERE uuid = ?").bind(uuid).run();
}

Result<> keepPreviewUntil(Database &database, std::int64_t asset, double date) {
    return database.prepare("UPDATE zgenericasset SET previewkeptuntil = ? WHERE pk = ?")
        .bind(date, asset)
        .run();
}

Result<std::vector<AssetRecord>> sharedAssetsWithThumbnails(Database &database) {
    // Without a size, the picture can't be decoded.
    return database
        .prepare(std::string(store::selectAssets) +
                 "WHERE thumbnailindex > 0 AND width > 0 AND previewkeptuntil < ? AND pk NOT IN (SELECT "
                 "asset FROM zduethumbnail WHERE made = 0) "
                 "AND pk IN (SELECT asset FROM zalbumasset JOIN zalbum ON zalbum.pk = album "
                 "WHERE streamid IS NOT NULL) ORDER BY pk")
        .bind(secondsNow())
        .all(store::readRecord);
}

Result<> storeNoRendition(Database &database, const AssetRecord &asset) {
    return database
        .prepare("INSERT OR REPLACE INTO zduethumbnail (asset) SELECT ? FROM zrendition WHERE assetuuid = ?")
        .bind(asset.primaryKey, asset.uuid)
        .run()
        .and_then([&] {
            return database.prepare("DELETE FROM zrendition WHERE assetuuid = ?").bind(asset.uuid).run();
        })
        .and_then([&] { return storeDerivedChange(database, asset.primaryKey); });
}

Result<> storeNoThumbnails(Database &database, std::int64_t asset) {
    return database.prepare("UPDATE zgenericasset SET thumbnailindex = 0 WHERE pk = ?")
        .bind(asset)
        .run()
        .and_then([&] { return storeNotDue(database, asset); });
}

Result<> storeRenditionProperties(Database &database, std::string_view uuid, Bytes properties) {
    return database.prepare("UPDATE zrendition SET properties = ? WHERE assetuuid = ?")
        .bind(properties, uuid)
        .run();
}

} // namespace wickerlane::hoardd

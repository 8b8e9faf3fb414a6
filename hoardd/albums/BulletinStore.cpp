#include "hoardd/albums/BulletinStore.h"

#include <algorithm>
#include <cmath>

#include "wickerlane/model/RecordFaults.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

/// For how long after a bulletin the next event of its kind joins it.
constexpr double gatheringSeconds[] = {600, 86'400};

std::string selectBulletins(const char *condition) {
    return std::string("SELECT recordid, originalrecordid, originaldate, date, photos, videos, "
                       "coalesce(zalbum.uuid, ''), coalesce(zalbum.name, ''), coalesce(zgenericasset.uuid, "
                       "''), coalesce(zgenericasset.kind, 0), "
                       "coalesce(zgenericasset.thumbnailindex, 0), sender, type, "
                       "coalesce(zgenericasset.filename, '') FROM zbulletin "
                       "LEFT JOIN zalbum ON zalbum.pk = zbulletin.album "
                       "LEFT JOIN zgenericasset ON zgenericasset.pk = zbulletin.asset ") +
           condition;
}

BulletinRecord readBulletin(const Statement &row) {
    BulletinRecord record;
    record.id = row.integer(0);
    record.originalID = row.integer(1);
    record.originalDate = row.real(2);
    record.date = row.real(3);
    record.photos = row.integer(4);
    record.videos = row.integer(5);
    record.albumUUID = row.text(6);
    record.albumName = row.text(7);
    record.assetUUID = row.text(8);
    record.assetIsVideo = row.integer(9) == 1;
    record.hasThumbnail = row.integer(10) != 0;
    record.sender = row.text(11);
    record.type = static_cast<BulletinType>(row.integer(12));
    record.assetFilename = row.text(13);
    return record;
}

bool isSound(const BulletinRecord &bulletin) {
    for (const std::string *text : {&bulletin.albumUUID, &bulletin.albumName, &bulletin.assetUUID,
                                    &bulletin.assetFilename, &bulletin.sender})
        if (!isText(*text))
            return false;
    return std::isfinite(bulletin.date) && std::isfinite(bulletin.originalDate);
}

/// What a bulletin is about. Only those of shared albums have one.
struct Subject {
    BulletinType type;
    std::optional<std::int64_t> album;
};

/// The newest bulletin of a subject that still gathers what happens, with its numbers alone.
Result<std::optional<BulletinRecord>> gatheringBulletin(Database &database, const Subject &subject,
                                                        double date) {
    return database
        .prepare("SELECT recordid, originalrecordid, originaldate, photos, videos FROM zbulletin "
                 "WHERE type = ? AND album IS ? AND date > ? ORDER BY recordid DESC LIMIT 1")
        .bind(static_cast<std::int64_t>(subject.type), subject.album,
              date - gatheringSeconds[static_cast<std::size_t>(subject.type)])
        .first([](const Statement &row) {
            BulletinRecord record;
            record.id = row.integer(0);
            record.originalID = row.integer(1);
            record.originalDate = row.real(2);
            record.photos = row.integer(3);
            record.videos = row.integer(4);
            return record;
        });
}

/// Gives the number of the bulletin's first record.
Result<std::int64_t> addBulletin(Database &database, const Subject &subject, const AssetRecord &asset,
                                 std::string_view sender, double date) {
    const auto gathering = gatheringBulletin(database, subject, date);
    if (!gathering)
        return passOn(gathering);
    BulletinRecord bulletin = gathering->value_or(BulletinRecord());
    if (bulletin.id == 0)
        bulletin.originalDate = date;
    ++(asset.kind == AssetKind::photo ? bulletin.photos : bulletin.videos);
    const auto deleted = database.prepare("DELETE FROM zbulletin WHERE recordid = ? OR date < ?")
                             .bind(bulletin.id, date - bulletinLifetime)
                             .run();
    if (!deleted)
        return passOn(deleted);
    const auto inserted =
        database
            .prepare("INSERT INTO zbulletin (type, originalrecordid, originaldate, date, album, asset, "
                     "photos, videos, sender) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)")
            .bind(static_cast<std::int64_t>(subject.type), bulletin.originalID, bulletin.originalDate, date,
                  subject.album, asset.primaryKey, bulletin.photos, bulletin.videos, sender)
            .run();
    if (!inserted)
        return passOn(inserted);
    if (bulletin.originalID != 0)
        return bulletin.originalID;
    const std::int64_t id = database.lastRowID();
    return database.prepare("UPDATE zbulletin SET originalrecordid = recordid WHERE recordid = ?")
        .bind(id)
        .run()
        .map([id] { return id; });
}

} // namespace

Result<> addAssetBulletin(Database &database, const AssetRecord &asset, const AlbumRecord &album,
                          std::string_view sender, double date) {
    const auto added =
        addBulletin(database, {BulletinType::assetsAdded, album.primaryKey}, asset, sender, date);
    return added ? Result<>() : passOn(added);
}

Result<> addOriginalBulletin(Database &database, const AssetRecord &asset, double date) {
    const auto added = addBulletin(database, {BulletinType::originalsLost, std::nullopt}, asset, {}, date);
    if (!added)
        return passOn(added);
    // Its original may not have been read yet.
    return database
        .prepare("INSERT INTO zscrub (asset, date, bulletin) SELECT pk, dateadded, ?1 FROM zgenericasset "
                 "WHERE pk = ?2 ON CONFLICT (asset) DO UPDATE SET bulletin = ?1")
        .bind(*added, asset.primaryKey)
        .run();
}

Result<std::vector<BulletinRecord>> currentBulletins(Database &database, double now) {
    auto bulletins =
        database.prepare(selectBulletins("WHERE date > ? AND photos + videos > 0 ORDER BY recordid DESC"))
            .bind(now - bulletinLifetime)
            .all(readBulletin);
    if (bulletins)
        std::erase_if(*bulletins, [](const BulletinRecord &each) { return !isSound(each); });
    return bulletins;
}

Result<std::int64_t> countCurrentBulletins(Database &database, double now) {
    return currentBulletins(database, now).map([](const std::vector<BulletinRecord> &bulletins) {
        return static_cast<std::int64_t>(bulletins.size());
    });
}

Result<std::optional<BulletinRecord>> bulletinWithID(Database &database, std::uint64_t id) {
    return database.prepare(selectBulletins("WHERE recordid = ?")).bind(id).first(readBulletin);
}

// As the trigger of a deleted asset does for all albums.
Result<> leaveAlbumBulletins(Database &database, std::int64_t album, std::int64_t asset) {
    return database
        .prepare("UPDATE zbulletin SET "
                 "photos = photos - (SELECT kind = 0 FROM zgenericasset WHERE pk = ?2), "
                 "videos = videos - (SELECT kind = 1 FROM zgenericasset WHERE pk = ?2), "
                 "asset = CASE WHEN asset IS NOT ?2 THEN asset ELSE "
                 "(SELECT other.asset FROM zalbumasset AS other "
                 "WHERE other.album = zbulletin.album AND other.asset <> ?2 "
                 "AND other.dateadded BETWEEN zbulletin.originaldate AND zbulletin.date "
                 "ORDER BY other.dateadded DESC LIMIT 1) END "
                 "WHERE album = ?1 AND EXISTS (SELECT 1 FROM zalbumasset AS added "
                 "WHERE added.album = ?1 AND added.asset = ?2 "
                 "AND added.dateadded BETWEEN zbulletin.originaldate AND zbulletin.date)")
        .bind(album, asset)
        .run();
}

Result<std::optional<double>> firstBulletinDate(Database &database) {
    return database.prepare("SELECT date FROM zbulletin ORDER BY date LIMIT 1")
        .first([](const Statement &row) { return row.real(0); });
}

Result<> deleteExpiredBulletins(Database &database, double now) {
    return database.prepare("DELETE FROM zbulletin WHERE date <= ?").bind(now - bulletinLifetime).run();
}

Result<> deleteBulletinsAfter(Database &database, double date) {
    return database
        .prepare("WITH earlier AS (SELECT recordid, s.asset, kind, s.dateadded FROM zbulletin b "
                 "JOIN zalbumasset s ON s.album = b.album AND s.dateadded BETWEEN b.originaldate AND ?1 "
                 "JOIN zgenericasset a ON a.pk = s.asset), "
                 "newest AS (SELECT recordid, asset, max(dateadded) AS date, sum(kind = 0) AS photos, "
                 "sum(kind = 1) AS videos FROM earlier GROUP BY recordid) "
                 "UPDATE zbulletin SET asset = newest.asset, date = newest.date, photos = newest.photos, "
                 "videos = newest.videos FROM newest "
                 "WHERE newest.recordid = zbulletin.recordid AND zbulletin.date > ?1")
        .bind(date)
        .run()
        .and_then([&] {
            return database.prepare("DELETE FROM zbulletin WHERE date > ? AND album IS NOT NULL")
                .bind(date)
                .run();
        });
}

Result<> deleteBulletins(Database &database, std::uint64_t lastID) {
    const auto last = static_cast<std::int64_t>(std::min<std::uint64_t>(lastID, INT64_MAX));
    return database.prepare("DELETE FROM zbulletin WHERE recordid <= ?").bind(last).run();
}

} // namespace wickerlane::hoardd

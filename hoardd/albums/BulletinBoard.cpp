#include "hoardd/albums/BulletinBoard.h"

#include "hoardd/albums/BulletinTexts.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/Interim.h"
#include "hoardd/library/State.h"
#include "hoardd/pictures/Thumbnails.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/BulletinKeys.h"

namespace wickerlane::hoardd {

using store::AssetKind;

namespace {

constexpr double gatheredSeconds = 600;
constexpr double daySeconds = 86'400;
constexpr double keptSeconds = 30 * daySeconds;
constexpr std::int64_t photosAdded = 0; // the type of a bulletin

/// A bulletin as the store has it.
struct Record {
    std::int64_t id = 0, originalID = 0, photos = 0, videos = 0;
    double originalDate = 0, date = 0;
    std::string albumUUID, albumName, assetUUID, sender;
    bool assetIsVideo = false, hasThumbnail = false;
};

constexpr const char *selectBulletins =
    "SELECT recordid, originalrecordid, originaldate, date, photos, videos, zalbum.uuid, zalbum.name, "
    "coalesce(zgenericasset.uuid, ''), coalesce(zgenericasset.kind, 0), "
    "coalesce(zgenericasset.thumbnailindex, 0), sender FROM zbulletin JOIN zalbum ON zalbum.pk = "
    "zbulletin.album "
    "LEFT JOIN zgenericasset ON zgenericasset.pk = zbulletin.asset ";

Record readRecord(const sqlite::Statement &row) {
    Record record;
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
    return record;
}

Ref<Dictionary> describe(const Record &record) {
    const auto flag = [](bool value) { return Number::of(value); };
    const auto date = [](double seconds) { return autorelease(Date::createWithReferenceSeconds(seconds)); };
    auto bulletin = MutableDictionary::create();
    bulletin->set(kBulletinkeyBulletinType, Number::of(photosAdded));
    bulletin->set(kBulletinKeyRecordID, Number::of(record.id));
    bulletin->set(kBulletinKeyOriginalRecordID, Number::of(record.originalID));
    bulletin->set(kBulletinKeyDate, date(record.date));
    bulletin->set(kBulletinKeyOriginalDate, date(record.originalDate));
    bulletin->set(kBulletinKeyExpirationDate, date(record.date + keptSeconds));
    bulletin->set(kBulletinKeyAlbumUUID, String::of(record.albumUUID));
    bulletin->set(kBulletinKeyAssetCount, Number::of(record.photos + record.videos));
    bulletin->set(kBulletinKeyForMultipleAsset, flag(record.photos + record.videos > 1));
    bulletin->set(kBulletinKeyMultipleAssetsOfMixedType, flag(record.photos > 0 && record.videos > 0));
    // Without a server, everything in the library was put there by its owner.
    bulletin->set(kBulletinKeyAssetIsMine, flag(true));
    bulletin->set(kBulletinKeyAllMultipleAssetIsMine, flag(true));
    bulletin->set(kBulletinKeyHasThumbnail, flag(record.hasThumbnail));
    if (!record.assetUUID.empty()) {
        bulletin->set(kBulletinKeyAssetUUID, String::of(record.assetUUID));
        bulletin->set(kBulletinKeyAssetIsVideo, flag(record.assetIsVideo));
    }
    bulletin->set(kBulletinKeyTitle, String::of(record.albumName));
    bulletin->set(kBulletinKeyMessage, assetsAddedText({static_cast<std::size_t>(record.photos),
                                                        static_cast<std::size_t>(record.videos)},
                                                       record.sender, record.albumName));
    bulletin->set(kBulletinKeySenderNames, Array::of({String::of(record.sender)}));
    bulletin->set(kBulletinKeyDefaultURL, store::createAlbumURL(record.albumUUID)->absoluteString());
    std::string albumView(JXSuppresionContextPrefixAlbumView->utf8());
    bulletin->set(
        kBulletinKeySuppresionContexts,
        Array::of({JXLibraryViewBulletinSuppresionContext, String::of(albumView.append(record.albumUUID))}));
    return bulletin;
}

} // namespace

bool BulletinBoard::addAsset(sqlite::Database &database, const store::AssetRecord &asset,
                             const store::AlbumRecord &album, std::string_view sender, double date) {
    std::int64_t original = 0, photos = asset.kind == AssetKind::photo ? 1 : 0, videos = 1 - photos;
    double originalDate = date;
    {
        auto gathered =
            database.prepare("SELECT recordid, originalrecordid, originaldate, photos, videos FROM zbulletin "
                             "WHERE album = ? AND date > ? ORDER BY recordid DESC LIMIT 1");
        std::int64_t replaced = 0;
        if (gathered.bind(album.primaryKey, date - gatheredSeconds).next()) {
            replaced = gathered.integer(0);
            original = gathered.integer(1);
            originalDate = gathered.real(2);
            photos += gathered.integer(3);
            videos += gathered.integer(4);
        }
        if (gathered.failed())
            return false;
        gathered.reset();
        if (!database.prepare("DELETE FROM zbulletin WHERE recordid = ? OR date < ?")
                 .bind(replaced, date - keptSeconds)
                 .run())
            return false;
    }
    if (!database
             .prepare("INSERT INTO zbulletin (originalrecordid, originaldate, date, album, asset, photos, "
                      "videos, sender) "
                      "VALUES (?, ?, ?, ?, ?, ?, ?, ?)")
             .bind(original, originalDate, date, album.primaryKey, asset.primaryKey, photos, videos, sender)
             .run())
        return false;
    return original != 0 ||
           database.prepare("UPDATE zbulletin SET originalrecordid = recordid WHERE recordid = ?")
               .bind(database.lastRowID())
               .run();
}

void BulletinBoard::tellOfChange() {
    postNotification(JXPinwallBulletinsChangedNotification->cString());
    postNotification(JXBadgeCountChangedNotification->cString());
}

Array *BulletinBoard::current(std::string &problem) const {
    auto database = openReader(library, problem);
    if (!database)
        return nullptr;
    auto rows = database->prepare(std::string(selectBulletins) + "WHERE date > ? ORDER BY recordid DESC");
    rows.bind(secondsNow() - keptSeconds);
    auto all = MutableArray::create();
    while (rows.next())
        all->append(describe(readRecord(rows)).get());
    if (rows.failed()) {
        problem = database->problem().text;
        return nullptr;
    }
    return autorelease(std::move(all));
}

std::optional<std::int64_t> BulletinBoard::badgeCount() const {
    std::string problem;
    auto database = openReader(library, problem);
    if (!database)
        return std::nullopt;
    auto count = database->prepare("SELECT count(*) FROM zbulletin WHERE date > ?");
    return count.bind(secondsNow() - keptSeconds).next() ? std::optional(count.integer(0)) : std::nullopt;
}

Ref<Data> BulletinBoard::thumbnail(std::uint64_t recordID) const {
    std::string problem;
    auto database = openReader(library, problem);
    if (!database)
        return nullptr;
    auto row = database->prepare(std::string(selectBulletins) + "WHERE recordid = ?");
    if (!row.bind(recordID).next())
        return nullptr;
    const std::string uuid = readRecord(row).assetUUID;
    const auto thumbnail = smallThumbnail(library.paths(), uuid);
    return thumbnail ? Data::create(thumbnail->data(), thumbnail->size()) : nullptr;
}

std::string BulletinBoard::clear(std::uint64_t lastRecordID) const {
    std::string problem = asText(library.writer().change([&](sqlite::Database &database) {
        const auto last = static_cast<std::int64_t>(std::min<std::uint64_t>(lastRecordID, INT64_MAX));
        return database.prepare("DELETE FROM zbulletin WHERE recordid <= ?").bind(last).run();
    }));
    if (problem.empty())
        tellOfChange();
    return problem;
}

} // namespace wickerlane::hoardd

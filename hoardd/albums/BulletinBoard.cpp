#include "hoardd/albums/BulletinBoard.h"

#include "hoardd/albums/BulletinStore.h"
#include "hoardd/albums/BulletinTexts.h"
#include "hoardd/library/Clock.h"
#include "hoardd/pictures/PreviewWell.h"
#include "wickerlane/model/AssetURL.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/BulletinKeys.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

void describeAdded(MutableDictionary &bulletin, const BulletinRecord &record) {
    bulletin.set(kBulletinKeyAlbumUUID, String::of(record.albumUUID));
    bulletin.set(kBulletinKeyTitle, String::of(record.albumName));
    bulletin.set(kBulletinKeyMessage, assetsAddedText({static_cast<std::size_t>(record.photos),
                                                       static_cast<std::size_t>(record.videos)},
                                                      record.sender, record.albumName));
    bulletin.set(kBulletinKeySenderNames, Array::of({String::of(record.sender)}));
    bulletin.set(kBulletinKeyDefaultURL, createAlbumURL(record.albumUUID)->absoluteString());
    std::string albumView(JXSuppresionContextPrefixAlbumView->utf8());
    bulletin.set(kBulletinKeySuppresionContexts, Array::of({JXLibraryViewBulletinSuppresionContext,
                                                            String::of(albumView.append(record.albumUUID))}));
}

void describeLost(MutableDictionary &bulletin, const BulletinRecord &record) {
    bulletin.set(kBulletinKeyTitle, libraryTitle());
    bulletin.set(kBulletinKeyMessage,
                 originalsLostText(static_cast<std::size_t>(record.photos + record.videos)));
    if (record.assetUUID.empty())
        return;
    if (const auto url = createAssetURL(record.assetUUID, pathExtension(record.assetFilename)))
        bulletin.set(kBulletinKeyDefaultURL, url->absoluteString());
}

Ref<Dictionary> describe(const BulletinRecord &record) {
    const auto flag = [](bool value) { return Number::of(value); };
    const auto date = [](double seconds) { return autorelease(Date::createWithReferenceSeconds(seconds)); };
    auto bulletin = MutableDictionary::create();
    bulletin->set(kBulletinkeyBulletinType, Number::of(static_cast<std::int64_t>(record.type)));
    bulletin->set(kBulletinKeyRecordID, Number::of(record.id));
    bulletin->set(kBulletinKeyOriginalRecordID, Number::of(record.originalID));
    bulletin->set(kBulletinKeyDate, date(record.date));
    bulletin->set(kBulletinKeyOriginalDate, date(record.originalDate));
    bulletin->set(kBulletinKeyExpirationDate, date(record.date + bulletinLifetime));
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
    if (record.type == BulletinType::assetsAdded)
        describeAdded(*bulletin, record);
    else
        describeLost(*bulletin, record);
    return bulletin;
}

} // namespace

Result<Ref<MutableArray>> currentBulletins(Library &library) {
    const auto records =
        library.read([](Database &database) { return currentBulletins(database, secondsNow()); });
    if (!records)
        return passOn(records);
    auto bulletins = MutableArray::create();
    for (const BulletinRecord &record : *records)
        bulletins->append(describe(record).get());
    return bulletins;
}

Result<std::int64_t> badgeCount(Library &library) {
    return library.read([](Database &database) { return countCurrentBulletins(database, secondsNow()); });
}

Result<Ref<Data>> bulletinThumbnail(Library &library, std::uint64_t recordID) {
    const auto bulletin =
        library.read([recordID](Database &database) { return bulletinWithID(database, recordID); });
    if (!bulletin)
        return passOn(bulletin);
    const auto thumbnail = smallThumbnail(library.paths(), *bulletin ? (*bulletin)->assetUUID : "");
    if (!thumbnail)
        return fail(ProblemKind::notFound, "there is no such bulletin, or it has no picture");
    return Data::create(thumbnail->data(), thumbnail->size());
}

Result<> clearBulletins(Library &library, std::uint64_t lastRecordID) {
    return library.writer().change(
        [lastRecordID](Database &database) { return deleteBulletins(database, lastRecordID); });
}

Result<std::optional<double>> expireBulletins(Library &library, double now) {
    auto first = library.read(firstBulletinDate);
    if (first && *first && **first + bulletinLifetime <= now)
        first = library.writer().change([now](Database &database) {
            return deleteExpiredBulletins(database, now).and_then([&] {
                return firstBulletinDate(database);
            });
        });
    if (first && *first)
        **first += bulletinLifetime;
    return first;
}

} // namespace wickerlane::hoardd

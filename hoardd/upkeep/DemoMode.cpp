#include "hoardd/upkeep/DemoMode.h"

#include "hoardd/albums/AlbumNotes.h"
#include "hoardd/albums/AlbumStore.h"
#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/albums/BulletinStore.h"
#include "hoardd/albums/PeopleStore.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/pictures/PictureStore.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Trash.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

/// What was deleted since a date is there again, but for what was added since then.
Result<> restoreTrashedSince(Library &library, double date) {
    const auto trash = library.assets().trash();
    if (!trash)
        return passOn(trash);
    for (const auto &[asset, dateTrashed] : *trash) {
        if (const auto on = library.goesOn(); !on)
            return passOn(on);
        const AssetRecord &record = asset->record();
        Result<> done;
        if (record.dateAdded > date)
            done = removeAsset(library, record, AssetPlace::trash);
        else if (dateTrashed > date)
            done = restoreFromTrash(library, record.uuid);
        if (!done)
            return done;
    }
    return {};
}

Result<> removeAssets(Library &library, double date) {
    if (auto restored = restoreTrashedSince(library, date); !restored)
        return restored;
    const auto added = library.writer().addedSince(date);
    if (!added)
        return passOn(added);
    for (const AssetRecord &each : *added) {
        if (const auto on = library.goesOn(); !on)
            return passOn(on);
        ReleaseScope scope;
        if (const auto removed = removeAsset(library, each); !removed)
            return removed;
    }
    return {};
}

Result<> removeRenditions(Library &library, double date) {
    const auto edited =
        library.read([date](Database &database) { return assetsEditedAfter(database, date); });
    if (!edited)
        return passOn(edited);
    for (const std::string &each : *edited) {
        if (const auto on = library.goesOn(); !on)
            return passOn(on);
        ReleaseScope scope;
        const auto asset = assetWithUUID(library, each);
        if (!asset)
            return passOn(asset);
        if (const auto removed = revertRendition(library, (*asset)->record()); !removed)
            return removed;
    }
    return {};
}

struct ChangedAlbums {
    std::vector<std::string> deleted; // their UUIDs
    std::vector<ShrunkAlbum> shrunk;
};

Result<ChangedAlbums> takeFromStore(Database &database, double date) {
    ChangedAlbums changed;
    return deleteBulletinsAfter(database, date)
        .and_then([&] { return deletePeopleAddedAfter(database, date); })
        .and_then([&] { return deleteAlbumsCreatedAfter(database, date); })
        .and_then([&](std::vector<std::string> deleted) {
            changed.deleted = std::move(deleted);
            return deleteAlbumAssetsAddedAfter(database, date);
        })
        .map([&](std::vector<ShrunkAlbum> shrunk) {
            changed.shrunk = std::move(shrunk);
            return std::move(changed);
        });
}

} // namespace

Result<> removeAddedSince(Library &library, double date) {
    const auto removed =
        removeAssets(library, date).and_then([&] { return removeRenditions(library, date); });
    if (!removed)
        return removed;
    const MutexLock lock(library.albumNotesLock());
    const auto albums =
        library.writer().change([date](Database &database) { return takeFromStore(database, date); });
    if (!albums)
        return passOn(albums);
    for (const std::string &uuid : albums->deleted)
        removeAlbumNote(library.paths(), uuid);
    for (const ShrunkAlbum &album : albums->shrunk)
        noteAlbumAssets(library.paths(), album.uuid, album.assets);
    return {};
}

} // namespace wickerlane::hoardd

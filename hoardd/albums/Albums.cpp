#include "hoardd/albums/Albums.h"

#include <pwd.h>

#include <array>

#include "hoardd/albums/AlbumNotes.h"
#include "hoardd/albums/AlbumStore.h"
#include "hoardd/albums/BulletinStore.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/Failures.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/library/State.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/model/RecordFaults.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

/// What a user is called: by the full name, if there is one, else as at logging in.
std::string nameOf(uid_t user) {
    std::array<char, 4096> buffer{};
    passwd entry{}, *found = nullptr;
    if (::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
        return {};
    const std::string_view full = found->pw_gecos != nullptr ? found->pw_gecos : "";
    const std::string_view name = full.substr(0, full.find(','));
    return std::string(name.empty() ? found->pw_name : name);
}

AlbumRecord newAlbum(std::string_view name, std::string_view streamID) {
    AlbumRecord album;
    album.uuid = UUID::createRandom()->uuidString()->utf8();
    album.name = name;
    album.streamID = streamID;
    album.dateCreated = secondsNow();
    return album;
}

Failure failTaken() {
    return fail(ProblemKind::exists, "there is an album of that name");
}

/// The name, or else one with a number behind it that no album has.
Result<std::string> freeAlbumName(Database &database, const std::string &name) {
    std::string free = name;
    for (int number = 2;; ++number) {
        const auto isTaken = isAlbumNameTaken(database, free);
        if (!isTaken)
            return passOn(isTaken);
        if (!*isTaken)
            return free;
        free = name + ' ' + std::to_string(number);
    }
}

/// Fails when a shared album is full.
Result<> checkForRoom(Database &database, const AlbumRecord &album) {
    if (album.streamID.empty())
        return {};
    const auto limit = state::get(database, state::maxSharedAssets);
    const auto count = countAssetsInAlbum(database, album.primaryKey);
    if (!limit)
        return passOn(limit);
    if (!count)
        return passOn(count);
    if (*count >= limit->value_or(maxSharedAssets))
        return fail(ProblemKind::failed, "the shared album is full: take assets out of it first");
    return {};
}

/// Whether the asset is new in the album.
Result<bool> addAsset(Database &database, const AssetRecord &asset, const AlbumRecord &album, uid_t user) {
    const auto isPresent = isInAlbum(database, album.primaryKey, asset.primaryKey);
    if (!isPresent)
        return passOn(isPresent);
    if (*isPresent)
        return false;
    const double date = secondsNow();
    const auto added =
        checkForRoom(database, album)
            .and_then([&] { return insertAlbumAsset(database, album.primaryKey, asset.primaryKey, date); })
            .and_then([&] {
                return album.streamID.empty() ? Result<>()
                                              : addAssetBulletin(database, asset, album, nameOf(user), date);
            });
    if (!added)
        return passOn(added);
    return true;
}

/// Takes assets out of an album and its bulletins.
Result<> takeOut(Database &database, const AlbumRecord &album, std::span<const std::string_view> assets) {
    auto keyOf = database.prepare("SELECT pk FROM zgenericasset WHERE uuid = ?");
    for (const std::string_view uuid : assets) {
        const auto asset =
            keyOf.bind(uuid).first([](const sqlite::Statement &row) { return row.integer(0); });
        if (!asset)
            return passOn(asset);
        if (!*asset)
            return fail(ProblemKind::notFound, "there is no such asset");
        const auto removed =
            (album.streamID.empty() ? Result<>() : leaveAlbumBulletins(database, album.primaryKey, **asset))
                .and_then([&] { return removeAlbumAsset(database, album.primaryKey, **asset); });
        if (!removed)
            return removed;
    }
    return {};
}

Result<> insertNotedAssets(Database &database, const NotedAlbum &noted) {
    return insertAlbumAssets(database, noted.album.uuid, noted.assets, secondsNow());
}

Result<> restoreAlbum(Database &database, const NotedAlbum &noted, bool isMended) {
    AlbumRecord album = noted.album;
    const auto isPresent = hasAlbum(database, album.uuid);
    if (!isPresent)
        return passOn(isPresent);
    if (*isPresent)
        return isMended ? insertNotedAssets(database, noted) : Result<>();
    // The name may have gone to another album meanwhile, and the stream as well.
    const auto ofStream = albumOfStream(database, album.streamID);
    const auto name = freeAlbumName(database, album.name);
    if (!ofStream)
        return passOn(ofStream);
    if (!name)
        return passOn(name);
    if (*ofStream)
        album.streamID.clear();
    album.name = *name;
    return insertAlbum(database, album).and_then([&] { return insertNotedAssets(database, noted); });
}

Result<> recreateAlbums(Library &library, bool isMended) {
    FailureCount failures;
    for (const NotedAlbum &noted : readAlbumNotes(library.paths())) {
        const auto restored = library.writer().change(
            [&](Database &database) { return restoreAlbum(database, noted, isMended); });
        if (restored)
            continue;
        JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't make the album %s again: %s",
               noted.album.name.c_str(), restored.error().text.c_str());
        failures.add(noted.album.name, restored.error());
    }
    return failures.result("albums could not be made again");
}

} // namespace

Result<std::string> makeAlbum(Library &library, std::string_view name) {
    const AlbumRecord album = newAlbum(name, {});
    const MutexLock lock(library.albumNotesLock());
    const auto made = library.writer().change([&](Database &database) -> Result<> {
        const auto isTaken = isAlbumNameTaken(database, name);
        if (!isTaken)
            return passOn(isTaken);
        if (*isTaken)
            return failTaken();
        return insertAlbum(database, album);
    });
    if (!made)
        return passOn(made);
    noteAlbum(library.paths(), album);
    return album.uuid;
}

Result<std::string> makeStreamAlbum(Library &library, std::string_view streamID) {
    AlbumRecord album = newAlbum(streamID, streamID);
    bool isNew = false;
    const MutexLock lock(library.albumNotesLock());
    const auto made = library.writer().change([&](Database &database) -> Result<std::string> {
        const auto present = albumOfStream(database, streamID);
        if (!present)
            return passOn(present);
        if (*present)
            return **present;
        const auto name = freeAlbumName(database, album.name);
        if (!name)
            return passOn(name);
        album.name = *name;
        isNew = true;
        return insertAlbum(database, album).map([&] { return album.uuid; });
    });
    if (made && isNew)
        noteAlbum(library.paths(), album);
    return made;
}

Result<> addToAlbum(Library &library, const ManagedAsset &asset, const ManagedAlbum &album, uid_t user) {
    const MutexLock lock(library.albumNotesLock());
    const auto isNew = library.writer().change(
        [&](Database &database) { return addAsset(database, asset.record(), album.record(), user); });
    if (!isNew)
        return passOn(isNew);
    if (*isNew)
        noteAlbumAsset(library.paths(), album.record().uuid, asset.record().uuid);
    return {};
}

Result<> renameAlbum(Library &library, std::string_view uuid, std::string_view name) {
    if (name.empty() || name.size() > maxAlbumNameBytes || !isText(name))
        return fail(ProblemKind::invalid, "an album's name must be a text of 1 to 1024 bytes");
    const MutexLock lock(library.albumNotesLock());
    const auto found = albumWithUUID(library, uuid);
    if (!found)
        return passOn(found);
    AlbumRecord album = (*found)->record();
    const auto renamed = library.writer().change([&](Database &database) -> Result<> {
        const auto isTaken = album.name == name ? Result<bool>(false) : isAlbumNameTaken(database, name);
        if (!isTaken)
            return passOn(isTaken);
        if (*isTaken)
            return failTaken();
        return renameAlbum(database, album.uuid, name);
    });
    if (!renamed)
        return renamed;
    album.name = name;
    noteAlbum(library.paths(), album);
    return {};
}

Result<> deleteAlbum(Library &library, std::string_view uuid) {
    const MutexLock lock(library.albumNotesLock());
    const auto album = albumWithUUID(library, uuid);
    if (!album)
        return passOn(album);
    const std::string &known = (*album)->record().uuid;
    const auto deleted =
        library.writer().change([&](Database &database) { return deleteAlbum(database, known); });
    if (deleted)
        removeAlbumNote(library.paths(), known);
    return deleted;
}

Result<> removeFromAlbum(Library &library, std::span<const std::string_view> assets,
                         std::string_view albumUUID) {
    const MutexLock lock(library.albumNotesLock());
    const auto album = albumWithUUID(library, albumUUID);
    if (!album)
        return passOn(album);
    const AlbumRecord &record = (*album)->record();
    const auto left = library.writer().change([&](Database &database) {
        return takeOut(database, record, assets).and_then([&] {
            return assetsInAlbum(database, record.uuid);
        });
    });
    if (!left)
        return passOn(left);
    noteAlbumAssets(library.paths(), record.uuid, *left);
    return {};
}

Result<> deleteAlbumIfEmpty(Library &library, std::int64_t album) {
    const MutexLock lock(library.albumNotesLock());
    const auto deleted =
        library.writer().change([album](Database &database) { return deleteAlbumIfEmpty(database, album); });
    if (!deleted)
        return passOn(deleted);
    if (*deleted)
        removeAlbumNote(library.paths(), **deleted);
    return {};
}

Result<> recreateAlbums(Library &library) {
    return recreateAlbums(library, false);
}

Result<> recreateAlbumsOfMendedStore(Library &library) {
    return recreateAlbums(library, true);
}

} // namespace wickerlane::hoardd

// Albums, and edits of assets.
#include <unistd.h>

#include "hoardd/Daemon.h"
#include "hoardd/albums/Albums.h"
#include "hoardd/service/Handlers.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/Entitlements.h"

namespace wickerlane::hoardd {

using namespace protocol;
using store::ManagedAlbum;
using store::ManagedAsset;

namespace {

/// Tells the log what went wrong, if anything, and gives it back: callers may be told only that it did.
std::string logged(const char *what, std::string problem) {
    if (!problem.empty())
        JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't %s: %s", what, problem.c_str());
    return problem;
}

/// Whether the camera's preview well shows an asset: a copy of its small thumbnail.
bool isInPreviewWell(const Library &library, const store::AssetRecord &asset) {
    constexpr std::size_t mostBytes = 4 << 20; // far above any picture of 256 pixels a side
    std::vector<std::byte> well, thumbnail;
    return readFile(library.paths().previewWell(), well, mostBytes) &&
           readFile(library.paths().thumbnail(asset.uuid, store::ThumbnailSize::small), thumbnail,
                    mostBytes) &&
           well == thumbnail;
}

} // namespace

void addGroup(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const String *name = call.get(keys::name);
    if (name == nullptr || name->utf8().empty())
        return call.refuse("an album needs a name");
    const Albums::Made made = Albums(*library).make(name->utf8(), {});
    if (!made.problem.empty())
        return call.refuse("can't make the album: " + made.problem);
    Answer answer;
    answer.set(keys::nameTaken, made.nameTaken);
    if (!made.nameTaken)
        answer.set(keys::groupURL, store::createAlbumURL(made.uuid).get());
    call.answer(answer);
}

void addAssetToAlbum(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const ManagedAsset *asset = library->assets().assetWithURL(call.get(keys::assetURL));
    const ManagedAlbum *album = library->assets().albumWithUUID(call.get(keys::albumUUID)->utf8());
    std::string problem;
    if (asset == nullptr)
        problem = "there is no such asset";
    else if (album == nullptr)
        problem = "there is no such album";
    else
        problem = Albums(*library).add(*asset, *album, call.peer().user);
    call.answer(Answer().set(keys::success, logged("add an asset to an album", problem).empty()));
}

void deleteAsset(Daemon &daemon, const Call &call) {
    if (!daemon.isEntitled(call.peer(), JXDeleteAssetsEntitlement))
        return call.answer(Answer().set(keys::success, false).set(keys::hasEntitlement, false));
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const ManagedAsset *asset = library->assets().assetWithURL(call.get(keys::assetURL));
    const bool isShown = asset != nullptr && isInPreviewWell(*library, asset->record());
    const std::string problem =
        asset != nullptr ? library->saver().remove(asset->record()) : "there is no such asset";
    if (isShown && problem.empty())
        ::unlink(library->paths().previewWell().c_str());
    call.answer(Answer()
                    .set(keys::success, logged("delete an asset", problem).empty())
                    .set(keys::hasEntitlement, true));
}

void setExternalUsageIntent(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const ManagedAsset *asset = library->assets().assetWithURL(call.get(keys::assetURL));
    std::string problem = "there is no such asset";
    if (asset != nullptr)
        problem = library->writer().change([&](sqlite::Database &database) {
            return database.prepare("UPDATE zgenericasset SET externalusageintent = ? WHERE pk = ?")
                .bind(call.get(keys::externalUsageIntent), asset->record().primaryKey)
                .run();
        });
    call.answer(Answer().set(keys::success, logged("note how an asset is used", problem).empty()));
}

void recalculateCachedAlbumCounts(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const bool done = logged("count the assets of albums", Albums(*library).recount()).empty();
    call.finish(done ? "" : "the library's store can't be written");
}

void automaticallyDeleteEmptyAlbum(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const auto *uri = as<MessageData>(call.value(keys::albumOID));
    const std::int64_t album =
        store::primaryKeyInURI({static_cast<const char *>(uri->bytes()), uri->length()},
                               library->assets().storeUUID(), store::albumEntity);
    const std::string problem = album != 0 ? Albums(*library).deleteIfEmpty(album)
                                           : "albumOID is not that of an album of this library";
    call.finish(logged("delete an empty album", problem));
}

} // namespace wickerlane::hoardd

#include "wickerlane/api/WLAlbum.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/FactsInternal.h"
#include "wickerlane/api/ReasonInternal.h"

using namespace wickerlane;

namespace {

std::string_view uuidOfAlbumURL(const URL &url) {
    const std::string_view text = url.absoluteString()->utf8();
    const std::size_t key = text.find("id=");
    return key != std::string_view::npos ? text.substr(key + 3) : std::string_view();
}

} // namespace

WLArray *WLAlbumsCreate(WLError **error) {
    const auto albums = sharedClient()->albums();
    if (!albums)
        return withLastError<WLArray *>(nullptr, error);
    std::vector<Object *> objects;
    objects.reserve(albums->size());
    for (const Ref<ManagedAlbum> &each : *albums)
        objects.push_back(each.get());
    return withLastError(Array::create(objects).leak(), error);
}

WLAlbum *WLAsAlbum(WLObject *object) {
    return as<ManagedAlbum>(object);
}

const char *WLAlbumUUID(const WLAlbum *album) {
    return factOf(album, &AlbumRecord::uuid);
}

const char *WLAlbumName(const WLAlbum *album) {
    return factOf(album, &AlbumRecord::name);
}

uint64_t WLAlbumAssetCount(const WLAlbum *album) {
    return factOf(album, &AlbumRecord::assetCount);
}

double WLAlbumDateCreated(const WLAlbum *album) {
    return factOf(album, &AlbumRecord::dateCreated);
}

const char *WLAlbumStreamID(const WLAlbum *album) {
    return factOf(album, &AlbumRecord::streamID);
}

WLURL *WLAlbumURL(const WLAlbum *album) {
    return album != nullptr ? album->groupURL() : nullptr;
}

WLURL *WLAlbumObjectID(const WLAlbum *album) {
    return album != nullptr ? album->objectID()->uriRepresentation() : nullptr;
}

WLString *WLAlbumAdd(const char *name, WLError **error) {
    URL *url = sharedClient()->addAlbum(String::create(name).get());
    return withLastError(url != nullptr ? String::of(uuidOfAlbumURL(*url)) : nullptr, error);
}

void WLAlbumAddWithHandler(const char *name, void (*handler)(void *, WLString *, WLError *), void *context,
                           WLReleaseContext release) {
    auto called = handlerOf(handler, context, release);
    if (!called)
        return;
    const auto text = String::create(name);
    if (!text) {
        failLater(std::move(called), "there is no name: it must be UTF-8");
        return;
    }
    const auto answered = [called = std::move(called)](bool isTaken, const URL *url, const Error *error) {
        if (isTaken)
            called(nullptr, errorOf(ProblemKind::exists, "There is an album of that name.").get());
        else if (url == nullptr)
            called(nullptr, reasonOf(error, "hoardd made no album. More is in its log.").get());
        else
            called(String::of(uuidOfAlbumURL(*url)), nullptr);
    };
    sharedClient()->addGroupWithName(text.get(), answered);
}

bool WLAlbumRename(const char *uuid, const char *name, WLError **error) {
    return waitFor(&JXGatekeeperClient::renameAlbumWithUUID, error, String::create(uuid).get(),
                   String::create(name).get());
}

bool WLAlbumDelete(const char *uuid, WLError **error) {
    return waitFor(&JXGatekeeperClient::deleteAlbumWithUUID, error, String::create(uuid).get());
}

bool WLAlbumAddAsset(const char *uuid, const WLAsset *asset, WLError **error) {
    return waitFor(&JXGatekeeperClient::addAsset, error, WLAssetURL(asset), String::create(uuid).get());
}

void WLAlbumAddAssetWithHandler(const char *uuid, const WLAsset *asset, WLDoneHandler handler, void *context,
                                WLReleaseContext release) {
    auto called = handlerOf(handler, context, release);
    if (!called)
        return;
    const auto album = String::create(uuid);
    if (!album || asset == nullptr)
        failLater(std::move(called), "The asset or the album's UUID is missing.");
    else
        sharedClient()->addAssetWithURL(
            asset->assetURL(), album.get(),
            withReason(std::move(called), "hoardd did not add the asset. See that there is such an asset and "
                                          "such an album; more is in hoardd's log."));
}

bool WLAlbumRemoveAssets(const char *uuid, WLArray *assets, WLError **error) {
    return waitFor(&JXGatekeeperClient::removePhotos, error, assets, String::create(uuid).get());
}

void WLAlbumDeleteIfEmpty(const WLAlbum *album) {
    if (album != nullptr)
        sharedClient()->automaticallyDeleteEmptyAlbum(album);
}

void WLAlbumsRecount() {
    sharedClient()->recalculateCachedAlbumCounts();
}

#include "wickerlane/api/WLAlbum.h"

#include "wickerlane/api/ErrorInternal.h"
#include "wickerlane/api/FactsInternal.h"
#include "wickerlane/client/JXGatekeeperClient.h"

using namespace wickerlane;

namespace {

std::string_view uuidOfAlbumURL(const URL &url) {
    const std::string_view text = url.absoluteString()->utf8();
    const std::size_t key = text.find("id=");
    return key != std::string_view::npos ? text.substr(key + 3) : std::string_view();
}

} // namespace

WLArray *WLAlbumsCreate(WLError **error) {
    const auto albums = JXGatekeeperClient::sharedInstance()->albums();
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
    URL *url = JXGatekeeperClient::sharedInstance()->addAlbum(String::create(name).get());
    return withLastError(url != nullptr ? String::of(uuidOfAlbumURL(*url)) : nullptr, error);
}

bool WLAlbumRename(const char *uuid, const char *name, WLError **error) {
    return withLastError(JXGatekeeperClient::sharedInstance()->renameAlbumWithUUID(
                             String::create(uuid).get(), String::create(name).get()),
                         error);
}

bool WLAlbumDelete(const char *uuid, WLError **error) {
    return withLastError(
        JXGatekeeperClient::sharedInstance()->deleteAlbumWithUUID(String::create(uuid).get()), error);
}

bool WLAlbumAddAsset(const char *uuid, const WLAsset *asset, WLError **error) {
    return withLastError(
        JXGatekeeperClient::sharedInstance()->addAsset(WLAssetURL(asset), String::create(uuid).get()), error);
}

bool WLAlbumRemoveAssets(const char *uuid, WLArray *assets, WLError **error) {
    return withLastError(
        JXGatekeeperClient::sharedInstance()->removePhotos(assets, String::create(uuid).get()), error);
}

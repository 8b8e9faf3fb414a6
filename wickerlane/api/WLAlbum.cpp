#include "wickerlane/api/WLAlbum.h"

#include "wickerlane/api/ErrorInternal.h"
#include "wickerlane/api/FactsInternal.h"
#include "wickerlane/client/JXGatekeeperClient.h"

using namespace wickerlane;

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

#include "wickerlane/model/ManagedAlbum.h"

#include "wickerlane/model/AssetURL.h"
#include "wickerlane/model/ManagedAsset.h"

namespace wickerlane {

constinit const Class ManagedAlbum::classInfo{"ManagedAlbum", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(ManagedAlbum);

Ref<URL> createAlbumURL(std::string_view uuid) {
    return URL::create(std::string(assetURLScheme).append("://group/?id=").append(uuid));
}

Ref<ManagedAlbum> ManagedAlbum::create(AlbumRecord record, std::string_view storeUUID) {
    auto album = Ref<ManagedAlbum>::adopt(new ManagedAlbum);
    album->known = std::move(record);
    album->identity = ManagedObjectID::create(
        URL::create(objectURI(storeUUID, album->known.primaryKey, albumEntity)).get());
    album->persistentURL = createAlbumURL(album->known.uuid);
    return album;
}

bool ManagedAlbum::isEqual(const Object *other) const {
    const auto *album = as<ManagedAlbum>(other);
    return album != nullptr && album->identity->isEqual(identity.get());
}

String *ManagedAlbum::description() const {
    return String::format("<ManagedAlbum: %s, %s>", known.uuid.c_str(), known.name.c_str());
}

} // namespace wickerlane

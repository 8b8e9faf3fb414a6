#include "wickerlane/model/ManagedAsset.h"

#include <charconv>

#include "wickerlane/model/AssetURL.h"

namespace wickerlane {

namespace {

constexpr std::string_view scheme = "x-hoard-store://";

} // namespace

constinit const Class ManagedAsset::classInfo{"ManagedAsset", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(ManagedAsset);

std::string objectURI(std::string_view storeUUID, std::int64_t primaryKey, std::string_view entity) {
    std::string uri(scheme);
    return uri.append(storeUUID).append("/").append(entity).append("/p") + std::to_string(primaryKey);
}

std::int64_t primaryKeyInURI(std::string_view uri, std::string_view storeUUID, std::string_view entity) {
    const std::size_t prefix = scheme.size() + storeUUID.size() + entity.size() + 3; // "/", then "/p"
    if (uri.size() <= prefix)
        return 0;
    std::int64_t key = 0;
    const auto parsed = std::from_chars(uri.data() + prefix, uri.data() + uri.size(), key);
    // Written again and compared, so that every object has one URI only.
    return parsed.ec == std::errc() && key > 0 && uri == objectURI(storeUUID, key, entity) ? key : 0;
}

std::string_view extensionOf(std::string_view filename) {
    const std::size_t dot = filename.rfind('.');
    return dot == std::string_view::npos ? std::string_view() : filename.substr(dot + 1);
}

Ref<ManagedAsset> ManagedAsset::create(AssetRecord record, std::string_view libraryFolder,
                                       std::string_view storeUUID) {
    auto asset = Ref<ManagedAsset>::adopt(new ManagedAsset);
    asset->known = std::move(record);
    const AssetRecord &known = asset->known;
    asset->identity = ManagedObjectID::create(URL::create(objectURI(storeUUID, known.primaryKey)).get());
    asset->uuidText = String::create(known.uuid);
    asset->persistentURL = createAssetURL(known.uuid, extensionOf(known.filename));
    asset->originalURL =
        URL::createWithPath(std::string(libraryFolder) + '/' + known.directory + '/' + known.filename);
    asset->created = Date::createWithReferenceSeconds(known.dateCreated);
    return asset;
}

bool ManagedAsset::isEqual(const Object *other) const {
    const auto *asset = as<ManagedAsset>(other);
    return asset != nullptr && asset->identity->isEqual(identity.get());
}

String *ManagedAsset::description() const {
    return String::format("<ManagedAsset: %s, %s>", known.uuid.c_str(), known.filename.c_str());
}

} // namespace wickerlane

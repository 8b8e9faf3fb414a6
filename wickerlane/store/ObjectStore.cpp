#include "wickerlane/store/ObjectStore.h"

#include "wickerlane/store/StoreReader.h"

namespace wickerlane::store {

namespace {

template <class Found>
Found *orNull(Result<Ref<Found>> found) {
    return found ? autorelease(*std::move(found)) : nullptr;
}

template <class Value>
std::optional<Value> orNothing(Result<Value> value) {
    return value ? std::optional(*std::move(value)) : std::nullopt;
}

template <class Found>
Array *arrayOrNull(const Result<std::vector<Ref<Found>>> &found) {
    if (!found)
        return nullptr;
    auto result = MutableArray::create();
    for (const Ref<Found> &each : *found)
        result->append(each.get());
    return autorelease(std::move(result));
}

} // namespace

constinit const Class ObjectStore::classInfo{"ObjectStore", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(ObjectStore);

ObjectStore::ObjectStore(std::unique_ptr<StoreReader> opened) : reader(std::move(opened)) {
}

ObjectStore::~ObjectStore() = default;

Ref<ObjectStore> ObjectStore::open(const LibraryPaths &paths, std::string *problem) {
    auto opened = StoreReader::open(paths);
    if (!opened) {
        if (problem != nullptr)
            *problem = opened.error().text;
        return nullptr;
    }
    return Ref<ObjectStore>::adopt(new ObjectStore(*std::move(opened)));
}

const LibraryPaths &ObjectStore::paths() const noexcept {
    return reader->paths();
}

const std::string &ObjectStore::storeUUID() const noexcept {
    return reader->storeUUID();
}

Array *ObjectStore::assets(const Listing &query) {
    return arrayOrNull(reader->assets(query));
}

std::optional<AssetCounts> ObjectStore::counts() {
    return orNothing(reader->counts());
}

ManagedAsset *ObjectStore::assetWithUUID(std::string_view uuid) {
    return orNull(reader->assetWithUUID(uuid));
}

ManagedAsset *ObjectStore::assetWithURL(const URL *assetURL) {
    return orNull(reader->assetWithURL(assetURL));
}

ManagedAsset *ObjectStore::assetWithObjectID(const ManagedObjectID *objectID) {
    return orNull(reader->assetWithObjectID(objectID));
}

Array *ObjectStore::albums() {
    return arrayOrNull(reader->albums());
}

ManagedAlbum *ObjectStore::albumWithUUID(std::string_view uuid) {
    return orNull(reader->albumWithUUID(uuid));
}

ManagedAlbum *ObjectStore::albumNamed(std::string_view name) {
    return orNull(reader->albumNamed(name));
}

std::optional<std::vector<AssetChange>> ObjectStore::changes(std::int64_t since) {
    return orNothing(reader->changes(since));
}

ManagedObjectID *ObjectStore::managedObjectIDForURI(const char *uri, std::size_t length) {
    return reader->managedObjectIDForURI(uri, length);
}

} // namespace wickerlane::store

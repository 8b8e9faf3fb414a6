#include "wickerlane/store/ObjectStore.h"

#include "wickerlane/store/StoreReader.h"

namespace wickerlane::store {

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

const std::string &ObjectStore::storeUUID() const noexcept {
    return reader->storeUUID();
}

ManagedObjectID *ObjectStore::managedObjectIDForURI(const char *uri, std::size_t length) {
    return reader->managedObjectIDForURI(uri, length);
}

} // namespace wickerlane::store

#include "wickerlane/model/StoredObject.h"

namespace wickerlane {

constinit const Class StoredObject::classInfo{"StoredObject", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(StoredObject);

Ref<StoredObject> StoredObject::create(std::string_view storeUUID, std::string_view entity,
                                       std::int64_t primaryKey) {
    auto object = Ref<StoredObject>::adopt(new StoredObject);
    object->identity = ManagedObjectID::create(URL::create(objectURI(storeUUID, primaryKey, entity)).get());
    return object;
}

} // namespace wickerlane

#include "wickerlane/model/ManagedObjectID.h"

namespace wickerlane {

constinit const Class ManagedObjectID::classInfo{"ManagedObjectID", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(ManagedObjectID);

Ref<ManagedObjectID> ManagedObjectID::create(URL *uri, bool isTemporary) {
    return Ref<ManagedObjectID>::adopt(new ManagedObjectID(uri, isTemporary));
}

bool ManagedObjectID::isEqual(const Object *other) const {
    const auto *id = as<ManagedObjectID>(other);
    return id != nullptr && id->temporary == temporary && id->uri->isEqual(uri.get());
}

std::size_t ManagedObjectID::hash() const {
    return uri->hash();
}

String *ManagedObjectID::description() const {
    return uri->absoluteString();
}

} // namespace wickerlane

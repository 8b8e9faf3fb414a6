// The identity of an object in a library's store, for operations that ask for nothing else of it.
#ifndef WICKERLANE_MODEL_STOREDOBJECT_H
#define WICKERLANE_MODEL_STOREDOBJECT_H

#include "wickerlane/model/ManagedAsset.h"

namespace wickerlane {

/// Stands wherever an operation asks for a moment, a list of moments, or another object of a store.
/// Immutable.
class WL_EXPORT StoredObject final : public Object, public ManagedObject {
    WL_OBJECT
public:
    /// `entity` is what the objects of its kind are called in URIs.
    [[nodiscard]] static Ref<StoredObject> create(std::string_view storeUUID, std::string_view entity,
                                                  std::int64_t primaryKey);

    [[nodiscard]] ManagedObjectID *objectID() const override { return identity.get(); }

private:
    StoredObject() = default;
    Ref<ManagedObjectID> identity;
};

} // namespace wickerlane

#endif

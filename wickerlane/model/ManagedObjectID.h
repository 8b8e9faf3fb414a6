// Identities of managed objects, and what the library's operations ask of an application's objects.
#ifndef WICKERLANE_MODEL_MANAGEDOBJECTID_H
#define WICKERLANE_MODEL_MANAGEDOBJECTID_H

#include "wickerlane/platform/object/URL.h"

namespace wickerlane {

/// The immutable identity of an object in a store: a URI, temporary until the object is saved.
class WL_EXPORT ManagedObjectID final : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<ManagedObjectID> create(URL *uri, bool isTemporary = false);

    [[nodiscard]] URL *uriRepresentation() const noexcept { return uri.get(); } ///< Never null.
    [[nodiscard]] bool isTemporary() const noexcept { return temporary; }

    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] String *description() const override; ///< The URI's text.

private:
    ManagedObjectID(URL *named, bool isTemporary) : uri(named), temporary(isTemporary) {}
    Ref<URL> uri;
    bool temporary;
};

/// Finds managed object IDs by their URI.
class WL_EXPORT ObjectIDResolver {
public:
    virtual ~ObjectIDResolver() = default;
    /// `uri` is NUL-terminated UTF-8 of `length` bytes. Borrowed; null when the URI names no object.
    virtual ManagedObjectID *managedObjectIDForURI(const char *uri, std::size_t length) = 0;
};

/// An object with an identity in the library's store. Results are borrowed.
class WL_EXPORT ManagedObject {
public:
    virtual ~ManagedObject() = default;
    [[nodiscard]] virtual ManagedObjectID *objectID() const = 0;
};

/// What operations ask of a photo.
class WL_EXPORT Photo {
public:
    virtual ~Photo() = default;
    [[nodiscard]] virtual String *uuid() const = 0;
};

} // namespace wickerlane

#endif

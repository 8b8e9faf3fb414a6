// An asset of the library as an object.
#ifndef WICKERLANE_MODEL_MANAGEDASSET_H
#define WICKERLANE_MODEL_MANAGEDASSET_H

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/ManagedObjectID.h"
#include "wickerlane/platform/object/Number.h"

namespace wickerlane {

/// An asset as it was when it was read: immutable, shared between threads freely. It stands wherever an
/// operation asks for an asset or a photo. Object results live as long as the asset.
class WL_EXPORT ManagedAsset final : public Object, public ManagedObject, public Photo {
    WL_OBJECT
public:
    /// `libraryFolder` and `storeUUID` are those of the store it was read from.
    [[nodiscard]] static Ref<ManagedAsset> create(AssetRecord record, std::string_view libraryFolder,
                                                  std::string_view storeUUID);

    /// All that the store knows of it.
    [[nodiscard]] const AssetRecord &record() const noexcept { return known; }

    /// Makes collections of assets such as the functions of wickerlane/util take.
    [[nodiscard]] AssetKind assetKind() const noexcept { return known.kind; }
    [[nodiscard]] ManagedObjectID *objectID() const override { return identity.get(); }
    [[nodiscard]] String *uuid() const override { return uuidText.get(); }
    /// Its persistent URL, see AssetURL.h.
    [[nodiscard]] URL *assetURL() const noexcept { return persistentURL.get(); }
    /// Where its original is.
    [[nodiscard]] URL *fileURL() const noexcept { return originalURL.get(); }
    [[nodiscard]] Date *dateCreated() const noexcept { return created.get(); }

    /// Equal when identity is.
    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override { return identity->hash(); }
    [[nodiscard]] String *description() const override; ///< "<ManagedAsset: UUID, filename>"; borrowed.

private:
    ManagedAsset() = default;
    AssetRecord known;
    Ref<ManagedObjectID> identity;
    Ref<String> uuidText;
    Ref<URL> persistentURL;
    Ref<URL> originalURL;
    Ref<Date> created;
};

/// The folder of the library, before the root is put before it.
inline constexpr std::string_view mediaFolder = "/var/mobile/Media";

/// What the objects of a kind are called in the URIs of their IDs.
inline constexpr std::string_view assetEntity = "GenericAsset";

/// The URI of an object's ID: "x-hoard-store://<store's UUID>/GenericAsset/p<primary key>".
[[nodiscard]] WL_EXPORT std::string objectURI(std::string_view storeUUID, std::int64_t primaryKey,
                                              std::string_view entity = assetEntity);

/// The primary key in such a URI, when it is one of that store and kind; 0 otherwise.
[[nodiscard]] WL_EXPORT std::int64_t primaryKeyInURI(std::string_view uri, std::string_view storeUUID,
                                                     std::string_view entity = assetEntity);

/// The extension of a file name, without the dot; empty when there is none.
[[nodiscard]] WL_EXPORT std::string_view extensionOf(std::string_view filename);

} // namespace wickerlane

#endif

// An album of the library as an object.
#ifndef WICKERLANE_MODEL_MANAGEDALBUM_H
#define WICKERLANE_MODEL_MANAGEDALBUM_H

#include <cstdint>
#include <string>
#include <string_view>

#include "wickerlane/model/ManagedObjectID.h"

namespace wickerlane {

/// What albums are called in the URIs of their object IDs.
inline constexpr std::string_view albumEntity = "Album";

/// A row of the album table.
struct AlbumRecord {
    std::int64_t primaryKey = 0; ///< Never used again for another one.
    std::string uuid;            ///< 36 characters, upper case.
    std::string name;            ///< No two albums have the same.
    std::string streamID;        ///< Of the stream that shares it; empty for an album that is not shared.
    double dateCreated = 0;      ///< Seconds since 2001-01-01 00:00:00 UTC.
    std::uint64_t assetCount = 0;
};

/// An album as it was when it was read: immutable, shared between threads freely. It stands wherever an
/// operation asks for an album. Object results live as long as the album.
class WL_EXPORT ManagedAlbum final : public Object, public ManagedObject {
    WL_OBJECT
public:
    /// `storeUUID` is that of the store it was read from.
    [[nodiscard]] static Ref<ManagedAlbum> create(AlbumRecord record, std::string_view storeUUID);

    /// All that the store knows of it.
    [[nodiscard]] const AlbumRecord &record() const noexcept { return known; }
    [[nodiscard]] ManagedObjectID *objectID() const override { return identity.get(); }
    /// Its persistent URL: "rez-vault://group/?id=<UUID>".
    [[nodiscard]] URL *groupURL() const noexcept { return persistentURL.get(); }

    /// Equal when identity is.
    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override { return identity->hash(); }
    [[nodiscard]] String *description() const override; ///< "<ManagedAlbum: UUID, name>"; borrowed.

private:
    ManagedAlbum() = default;
    AlbumRecord known;
    Ref<ManagedObjectID> identity;
    Ref<URL> persistentURL;
};

/// The persistent URL of an album.
[[nodiscard]] WL_EXPORT Ref<URL> createAlbumURL(std::string_view uuid);

} // namespace wickerlane

#endif

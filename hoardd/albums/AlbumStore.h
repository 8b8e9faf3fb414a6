// Albums in the store. The functions work in a transaction of the caller's.
#ifndef HOARDD_ALBUMS_ALBUMSTORE_H
#define HOARDD_ALBUMS_ALBUMSTORE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

[[nodiscard]] Result<> insertAlbum(sqlite::Database &database, const AlbumRecord &album);
[[nodiscard]] Result<bool> hasAlbum(sqlite::Database &database, std::string_view uuid);
[[nodiscard]] Result<bool> isAlbumNameTaken(sqlite::Database &database, std::string_view name);
/// The UUID of the album that a stream shares, if it has one.
[[nodiscard]] Result<std::optional<std::string>> albumOfStream(sqlite::Database &database,
                                                               std::string_view streamID);

[[nodiscard]] Result<bool> isInAlbum(sqlite::Database &database, std::int64_t album, std::int64_t asset);
[[nodiscard]] Result<> insertAlbumAsset(sqlite::Database &database, std::int64_t album, std::int64_t asset,
                                        double date);
/// Puts those of the assets, by their UUIDs, that the store has into an album.
[[nodiscard]] Result<> insertAlbumAssets(sqlite::Database &database, std::string_view albumUUID,
                                         std::span<const std::string> assetUUIDs, double date);
[[nodiscard]] Result<std::int64_t> countAssetsInAlbum(sqlite::Database &database, std::int64_t album);

[[nodiscard]] Result<> renameAlbum(sqlite::Database &database, std::string_view uuid, std::string_view name);
/// What is in it stays in the library.
[[nodiscard]] Result<> deleteAlbum(sqlite::Database &database, std::string_view uuid);
/// Succeeds when the asset is not in the album.
[[nodiscard]] Result<> removeAlbumAsset(sqlite::Database &database, std::int64_t album, std::int64_t asset);
/// The UUIDs of what is in an album, in the order in which it was added.
[[nodiscard]] Result<std::vector<std::string>> assetsInAlbum(sqlite::Database &database,
                                                             std::string_view albumUUID);

/// Deletes an album if there is nothing in it. Gives its UUID if it was deleted.
[[nodiscard]] Result<std::optional<std::string>> deleteAlbumIfEmpty(sqlite::Database &database,
                                                                    std::int64_t album);
/// Deletes the albums that were made after a date, and gives their UUIDs.
[[nodiscard]] Result<std::vector<std::string>> deleteAlbumsCreatedAfter(sqlite::Database &database,
                                                                        double date);

/// What is left of an album from which assets were taken.
struct ShrunkAlbum {
    std::string uuid;
    std::vector<std::string> assets; ///< Their UUIDs, in the order in which they were added.
};
/// Takes out of all albums what was added after a date.
[[nodiscard]] Result<std::vector<ShrunkAlbum>> deleteAlbumAssetsAddedAfter(sqlite::Database &database,
                                                                           double date);

/// Counts again what is in each album.
[[nodiscard]] Result<> recountAlbums(sqlite::Database &database);

} // namespace wickerlane::hoardd

#endif

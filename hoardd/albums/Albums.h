// Making and changing albums.
#ifndef HOARDD_ALBUMS_ALBUMS_H
#define HOARDD_ALBUMS_ALBUMS_H

#include <sys/types.h>

#include <string>
#include <string_view>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// What a shared album may hold, unless the store says otherwise: for want of a server that does.
inline constexpr std::int64_t maxSharedAssets = 5000;

/// Makes an album and gives its UUID. Fails with ProblemKind::exists when another album has the name.
[[nodiscard]] Result<std::string> makeAlbum(Library &library, std::string_view name);

/// Makes the album that a stream shares and gives its UUID: the one that there is, if the stream has one. It
/// has the stream's name, or one like it when that is taken.
[[nodiscard]] Result<std::string> makeStreamAlbum(Library &library, std::string_view streamID);

/// Puts an asset into an album for a user; adding it again changes nothing. An asset that is new in a shared
/// album becomes a bulletin.
[[nodiscard]] Result<> addToAlbum(Library &library, const ManagedAsset &asset, const ManagedAlbum &album,
                                  uid_t user);

/// Deletes an album, by its primary key, when there is nothing in it.
[[nodiscard]] Result<> deleteAlbumIfEmpty(Library &library, std::int64_t album);

/// Makes again the albums that the store lacks, from the notes beside it, with those of their assets that
/// the store has. An album that can't be made doesn't stop the others.
[[nodiscard]] Result<> recreateAlbums(Library &library);

} // namespace wickerlane::hoardd

#endif

// Making and changing albums.
#ifndef HOARDD_ALBUMS_ALBUMS_H
#define HOARDD_ALBUMS_ALBUMS_H

#include <sys/types.h>

#include <cstdint>
#include <span>
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

/// What an album's new name may have at most.
inline constexpr std::size_t maxAlbumNameBytes = 1024;

/// Gives an album another name. Fails with `exists` when another one has it, and with `invalid` when it is
/// empty or too long.
[[nodiscard]] Result<> renameAlbum(Library &library, std::string_view uuid, std::string_view name);

/// Deletes an album, not what is in it. A stream that it shares gets a new one when it asks again.
[[nodiscard]] Result<> deleteAlbum(Library &library, std::string_view uuid);

/// Takes assets, by their UUIDs, out of an album and its bulletins, all or none. Those that are not in it are
/// passed over; one that is not in the library is a problem.
[[nodiscard]] Result<> removeFromAlbum(Library &library, std::span<const std::string_view> assets,
                                       std::string_view albumUUID);

/// Deletes an album, by its primary key, when there is nothing in it.
[[nodiscard]] Result<> deleteAlbumIfEmpty(Library &library, std::int64_t album);

/// Makes again the albums that the store lacks, from the notes beside it, with those of their assets that
/// the store has. An album that can't be made doesn't stop the others.
[[nodiscard]] Result<> recreateAlbums(Library &library);

/// The same for a store that was made again: its albums also get back the assets that they lack. What was
/// taken out of an album after the copy of which the store was made may be in it again.
[[nodiscard]] Result<> recreateAlbumsOfMendedStore(Library &library);

} // namespace wickerlane::hoardd

#endif

// What is noted of albums beside the store, so that a restored library can make its albums again.
#ifndef HOARDD_ALBUMS_ALBUMNOTES_H
#define HOARDD_ALBUMS_ALBUMNOTES_H

#include <span>
#include <string>
#include <vector>

#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::hoardd {

// A note is a copy, written after the commit. One that can't be written is logged: it costs nothing unless
// the store is lost as well.

void noteAlbum(const store::LibraryPaths &paths, const AlbumRecord &album);
void noteAlbumAsset(const store::LibraryPaths &paths, const std::string &albumUUID,
                    const std::string &assetUUID);
/// Of all assets that are left in an album, in the order in which they were added.
void noteAlbumAssets(const store::LibraryPaths &paths, const std::string &albumUUID,
                     std::span<const std::string> assetUUIDs);
void removeAlbumNote(const store::LibraryPaths &paths, const std::string &albumUUID);

struct NotedAlbum {
    AlbumRecord album;               ///< Without key and count.
    std::vector<std::string> assets; ///< Their UUIDs, in the order in which they were added.
};

/// All notes that can be read.
[[nodiscard]] std::vector<NotedAlbum> readAlbumNotes(const store::LibraryPaths &paths);

} // namespace wickerlane::hoardd

#endif

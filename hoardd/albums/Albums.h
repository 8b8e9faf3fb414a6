// Making and changing albums.
#ifndef HOARDD_ALBUMS_ALBUMS_H
#define HOARDD_ALBUMS_ALBUMS_H

#include <sys/types.h>

#include <string>
#include <string_view>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Works on an open library. Its functions give an empty text on success, else the reason. What an album
/// holds is also noted beside the store, in a folder for each album, so that a restored library can make its
/// albums again. Thread-safe.
class Albums {
public:
    explicit Albums(Library &opened) : library(opened) {}

    /// What has come of making an album.
    struct Made {
        std::string uuid;       ///< Empty when none was made.
        bool nameTaken = false; ///< By another album.
        std::string problem;
    };
    /// Makes an album; one that a stream shares when there is a stream ID. A stream has one album, which
    /// stays when it is asked for again.
    [[nodiscard]] Made make(std::string_view name, std::string_view streamID);

    /// Puts an asset into an album for a user; once more changes nothing. An asset that is new in a shared
    /// album becomes a bulletin.
    [[nodiscard]] std::string add(const store::ManagedAsset &asset, const store::ManagedAlbum &album,
                                  uid_t user);

    /// Deletes an album, by its primary key, when there is nothing in it.
    [[nodiscard]] std::string deleteIfEmpty(std::int64_t album);

    /// Counts anew what is in each album.
    [[nodiscard]] std::string recount();

    /// Makes again the albums that the store lacks, with those of their assets that it has.
    [[nodiscard]] std::string recreate();

private:
    void noteAlbum(const store::AlbumRecord &album) const;
    void noteAsset(const std::string &albumUUID, const std::string &assetUUID) const;

    Library &library;
};

} // namespace wickerlane::hoardd

#endif

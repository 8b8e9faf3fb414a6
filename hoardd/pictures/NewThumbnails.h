// Thumbnails on their way into the library.
#ifndef HOARDD_PICTURES_NEWTHUMBNAILS_H
#define HOARDD_PICTURES_NEWTHUMBNAILS_H

#include <array>
#include <span>
#include <string>
#include <string_view>

#include "hoardd/media/Picture.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::hoardd {

/// The thumbnails of one asset while they are made: files in the library's Saving folder, which go with this
/// object unless they have come to their places.
class NewThumbnails {
public:
    NewThumbnails(const store::LibraryPaths &libraryPaths, std::string_view assetUUID);
    NewThumbnails(const NewThumbnails &) = delete;
    NewThumbnails &operator=(const NewThumbnails &) = delete;
    ~NewThumbnails();

    // Each gives an empty text on success, else the reason.

    /// Makes the files.
    [[nodiscard]] std::string open();
    /// To be written by a media worker, all of them. Empty before open().
    [[nodiscard]] std::span<const ThumbnailTarget> targets() const noexcept { return written; }
    /// Puts them in their places. They may not survive a crash, so something must tell that they are due.
    [[nodiscard]] std::string place();
    /// Puts them in their places for good.
    [[nodiscard]] std::string publish();

    /// Removes what a killed process left in the Saving folder.
    static void removeLeftovers(const store::LibraryPaths &paths);

private:
    static constexpr std::size_t count = store::thumbnailSizes.size();

    const store::LibraryPaths &paths;
    const std::string uuid;
    std::array<std::string, count> names; ///< Of files that are not in their places; else empty.
    std::array<UniqueFd, count> files;
    std::array<ThumbnailTarget, count> targetOf;
    std::span<const ThumbnailTarget> written;
};

} // namespace wickerlane::hoardd

#endif

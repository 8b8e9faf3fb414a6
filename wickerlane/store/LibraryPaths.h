// Where a library keeps what.
#ifndef WICKERLANE_STORE_LIBRARYPATHS_H
#define WICKERLANE_STORE_LIBRARYPATHS_H

#include <string>
#include <string_view>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane::store {

/// The thumbnails of an asset that can be decoded.
enum class ThumbnailSize { small, preview, large };

enum class ThumbnailMaking {
    early, ///< With the asset: one that is missing is a fault.
    late   ///< When it is asked for; then it is kept until the picture changes.
};

struct ThumbnailKind {
    ThumbnailSize size;
    std::uint32_t maxSide; ///< How long its sides may be, in pixels.
    ThumbnailMaking making;
};
/// In the order of ThumbnailSize.
inline constexpr std::array thumbnailKinds{
    ThumbnailKind{ThumbnailSize::small, 256, ThumbnailMaking::early},
    ThumbnailKind{ThumbnailSize::preview, 1024, ThumbnailMaking::early},
    ThumbnailKind{ThumbnailSize::large, 2048, ThumbnailMaking::late},
};

constexpr std::uint32_t maxSideOf(ThumbnailSize size) {
    return thumbnailKinds[static_cast<std::size_t>(size)].maxSide;
}

/// The paths of one library's folders and files, as they are in the file system. An immutable value.
class WL_EXPORT LibraryPaths {
public:
    /// The library of the current root: "/var/mobile/Media" below it.
    LibraryPaths();
    explicit LibraryPaths(std::string libraryFolder) : library(std::move(libraryFolder)) {}

    [[nodiscard]] const std::string &folder() const noexcept { return library; }
    /// The store's SQLite database.
    [[nodiscard]] std::string database() const { return library + "/PhotoData/Pixhold.sqlite"; }
    /// Held locked, with the process id in it, by the daemon that serves the library.
    [[nodiscard]] std::string lock() const { return library + "/PhotoData/hoardd.lock"; }
    /// Room on the disk that is given up when a full one would prevent deleting.
    [[nodiscard]] std::string reserve() const { return library + "/PhotoData/Reserve"; }
    /// What is being saved: one folder an asset, named as its original will be.
    [[nodiscard]] std::string saving() const { return library + "/PhotoData/Saving"; }
    /// Where a repair puts files that no asset has.
    [[nodiscard]] std::string lostAndFound() const { return library + "/PhotoData/LostAndFound"; }
    /// Files found among the originals, on their way into the library.
    [[nodiscard]] std::string found() const { return library + "/PhotoData/Found"; }
    /// One folder an album, from which it can be made again.
    [[nodiscard]] std::string albums() const { return library + "/PhotoData/Albums"; }
    /// Where callers put new files that they then ask to be saved.
    [[nodiscard]] std::string incoming() const { return library + "/PhotoData/Incoming"; }

    /// Of the asset that the camera's preview well shows; missing when it shows none.
    [[nodiscard]] std::string previewWell() const { return library + "/PhotoData/PreviewWell.JPG"; }
    /// Where an asset's edited rendition is.
    [[nodiscard]] std::string renditionFolder(std::string_view uuid) const {
        return library + "/PhotoData/Renditions/" + std::string(uuid.substr(0, 2));
    }

    /// Where the file of metadata is that came with an asset, if one did.
    [[nodiscard]] std::string sidecar(std::string_view uuid) const {
        return library + "/PhotoData/Sidecars/" + std::string(uuid.substr(0, 2)) + '/' + std::string(uuid) +
               ".XMP";
    }

    /// An original's directory, relative to folder(): "DCIM/3F".
    [[nodiscard]] static std::string directoryOfOriginal(std::string_view uuid) {
        return "DCIM/" + std::string(uuid.substr(0, 2));
    }
    [[nodiscard]] std::string original(const AssetRecord &asset) const {
        return library + '/' + asset.directory + '/' + asset.filename;
    }
    [[nodiscard]] std::string thumbnailFolder(std::string_view uuid) const {
        return library + "/PhotoData/Thumbnails/" + std::string(uuid.substr(0, 2));
    }
    [[nodiscard]] std::string thumbnail(std::string_view uuid, ThumbnailSize size) const {
        return thumbnailFolder(uuid) + '/' + std::string(uuid) + '-' + std::to_string(maxSideOf(size)) +
               ".JPG";
    }

private:
    std::string library;
};

} // namespace wickerlane::store

#endif

// Making the thumbnails of assets: those of the store's thumbnail kinds.
#ifndef HOARDD_PICTURES_THUMBNAILS_H
#define HOARDD_PICTURES_THUMBNAILS_H

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hoardd/library/Library.h"
#include "hoardd/library/StagedFile.h"

namespace wickerlane::hoardd {

/// The thumbnails of one asset that are made at one time, while they are made: in memory until they are
/// written, so that what comes to nothing costs no files, and gone with this object unless they have been
/// moved to their places. When the early ones take their places, the late ones go: they show what the early
/// ones showed before.
class StagedThumbnails {
public:
    [[nodiscard]] static Result<StagedThumbnails>
    create(const store::LibraryPaths &paths, std::string_view uuid, store::ThumbnailMaking making);

    /// To be written by a media worker, all of them.
    [[nodiscard]] std::span<const ThumbnailTarget> targets() const noexcept { return open; }
    /// Writes what the worker made into files, and lets go of the memory; place() and publish() do so, too.
    [[nodiscard]] Result<> write();
    /// Of what was written.
    [[nodiscard]] std::uint64_t bytes() const noexcept { return byteCount; }
    /// Puts them in their places. They may not survive a crash, so the store must say that they are due.
    [[nodiscard]] Result<> place();
    /// Puts them in their places, synced.
    [[nodiscard]] Result<> publish();

private:
    struct Thumbnail {
        UniqueFd memory;
        std::string place;
        std::optional<StagedFile> file{};
    };
    StagedThumbnails() = default;

    std::string folder;
    std::string saving;             ///< The folder for files on their way.
    std::vector<std::string> stale; ///< Paths of what goes.
    std::vector<Thumbnail> all;
    std::uint64_t byteCount = 0;
    std::vector<ThumbnailTarget> open; ///< Empty once they are written.
};

// Work on an open library. Problems are `invalid` when the picture itself can't be decoded.

/// Decodes a picture into thumbnails of an asset.
[[nodiscard]] Result<StagedThumbnails>
stageThumbnails(Library &library, std::string_view uuid, const std::string &picture,
                store::ThumbnailMaking making = store::ThumbnailMaking::early);
/// Puts thumbnails in their places, synced, and counts them in the store. The preview well shows them, if it
/// shows the asset. The asset's lock is held.
[[nodiscard]] Result<> publishThumbnails(Library &library, StagedThumbnails &thumbnails,
                                         const AssetRecord &asset, bool newIndex);

struct ThumbnailRequest {
    bool isForced = false; ///< Made even when all are there.
    bool newIndex = false; ///< The thumbnail index counts up, so that caches notice.
};
/// Makes the early thumbnails of an asset, of the picture that shows it. Blocks while it is decoded.
[[nodiscard]] Result<> makeThumbnails(Library &library, const AssetRecord &asset,
                                      const ThumbnailRequest &request);
/// Makes the late ones where they are missing; of several callers, one makes them. Blocks.
[[nodiscard]] Result<> makeLateThumbnails(Library &library, const AssetRecord &asset);

/// Makes the thumbnails of those assets where they are due, with one commit for all. Gives for each the asset
/// as it is then: with its thumbnails, or with the reason why its picture can't be decoded. A problem says
/// why they stay due: then they are asked for again, see Library::thumbnailRetry(). Blocks.
[[nodiscard]] std::vector<Result<AssetRecord>> makeDueThumbnails(Library &library,
                                                                 std::span<const AssetRecord> assets);

/// Makes the thumbnails that were left due: by an earlier process, or since they could not be made at the
/// time. Blocks, and stops where it can when the process is ending.
void makeThumbnailsLeftDue(Library &library);

/// Lets the thumbnails of assets that can't be decoded be due again, to be tried by makeThumbnailsLeftDue().
enum class Refused {
    byAny,
    byOthers, ///< By other decoders than there are now.
};
void tryUndecodable(Library &library, Refused refused);

} // namespace wickerlane::hoardd

#endif

// Whether a library's store and its files belong together.
#ifndef WICKERLANE_STORE_LIBRARYCHECK_H
#define WICKERLANE_STORE_LIBRARYCHECK_H

#include <optional>
#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/ThumbnailFile.h"

namespace wickerlane::store {

/// One thing that is not as it should be.
struct Finding {
    enum class Kind {
        damagedStore,     ///< The database is damaged; nothing else was looked at.
        missingStore,     ///< There is no database beside the originals; nothing else was looked at.
        unsoundRow,       ///< A row that can't be an asset or an album.
        missingOriginal,  ///< An asset without its file.
        changedOriginal,  ///< An original whose size or sum is not what was saved.
        damagedOriginal,  ///< The same, though nothing seems to have written to it: hoardd has seen it sound.
        unreadable,       ///< An original or a second file that can't be read.
        undecodable,      ///< An asset whose picture can't be decoded, as the store notes.
        missingThumbnail, ///< Of a picture that could be decoded; made again on demand.
        damagedThumbnail, ///< One that isn't what hoardd wrote; made again by a repair.
        missingRendition, ///< An asset whose edited rendition is gone.
        changedRendition, ///< An edited rendition whose sum is not what was saved.
        missingCompanion, ///< An asset whose second file is gone.
        changedCompanion, ///< A second file whose size or sum is not what was saved.
        damagedCompanion, ///< The same, though nothing seems to have written to it.
        strayOriginal,    ///< A file among the originals that no asset has.
        strayThumbnail,   ///< A file among the thumbnails that no asset has.
        strayRendition,   ///< A file among the renditions that no asset has.
        strayCompanion,   ///< A file among the second files that no asset has.
        unsavedFile,      ///< A found file of which no asset could be made yet.
        wrongSize,        ///< Thumbnails or an edited rendition whose size is not what the store adds up.
        wrongSum,         ///< A count or a sum of the store that is not what counting again gives.
    };
    Kind kind;
    std::string uuid;   ///< Of the asset; empty for files without one.
    std::string path;   ///< Of the file.
    std::string detail; ///< More, for people; may be empty.
};

/// What a finding is called, such as "missing original"; never null.
[[nodiscard]] WL_EXPORT const char *nameOf(Finding::Kind kind) noexcept;

struct CheckOptions {
    /// Computes the sum of a file, given its path. Null leaves the sums out; then what hoardd has noted when
    /// it read the originals last is found.
    Handler<Result<Sha256>(const std::string &)> sumOfFile{};
    /// How much of each thumbnail is read.
    ThumbnailLook thumbnails = ThumbnailLook::ends;
    /// Called now and then with how many of how many assets have been looked at; may be null.
    Handler<void(std::size_t, std::size_t)> progress{};
    /// Asked now and then; true ends the check early. May be null.
    Handler<bool()> isCancelled{};
};

struct CheckReport {
    std::vector<Finding> findings;
    std::size_t assets = 0; ///< That were looked at.
};

/// Whether there are originals of assets in a library's folder: files that hoardd has named.
[[nodiscard]] WL_EXPORT bool hasOriginals(const LibraryPaths &paths);

/// Looks at every asset of a library and at every file. It only reads, and may run while hoardd serves the
/// library: what is just being changed is no finding. Fails when the store can't be read at all.
[[nodiscard]] WL_EXPORT Result<CheckReport> checkLibrary(const LibraryPaths &paths,
                                                         const CheckOptions &options = {});

} // namespace wickerlane::store

#endif

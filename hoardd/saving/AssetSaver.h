// Saving assets so that each is there whole or not at all, whenever the process is killed.
#ifndef HOARDD_SAVING_ASSETSAVER_H
#define HOARDD_SAVING_ASSETSAVER_H

#include <span>
#include <string>
#include <vector>

#include "hoardd/library/Library.h"
#include "hoardd/saving/SaveJob.h"

namespace wickerlane::hoardd {

/// What became of a job: the asset, or why there is none.
struct SaveResult {
    Ref<store::ManagedAsset> asset;
    bool wasPresent = false; ///< The asset was there before, and nothing was saved.
    bool noData = false;     ///< The job named nothing to save, or something empty.
    bool isDue = false;      ///< The asset's thumbnails are still to be made.
    std::string problem;     ///< Why there is no asset.
    std::string lack; ///< Why an asset has no thumbnails yet, though it can be decoded for all we know.
};

/// The road of one asset:
///
///  1. A folder is made for it in the library's Saving folder, named as the original will be.
///  2. The original is written there and synced. A media worker takes a first look at it: its dates, its
///  place,
///     and the small preview that it may carry, which serves as its thumbnails for the moment.
///  3. The files move to their places, whose folders are synced.
///  4. The row is committed. From here on the asset is saved, and everybody sees it.
///  5. The folder, now empty, goes.
///  6. A worker decodes the picture, and the thumbnails proper take their places.
///
/// As long as the folder stands, what it stands for is unfinished: after a kill, recover() keeps the asset if
/// its row was committed, and otherwise removes all its files. That thumbnails are due is in the store: after
/// a kill, finishDue() makes them. Thread-safe.
class AssetSaver {
public:
    explicit AssetSaver(Library &opened)
        : library(opened), paths(opened.paths()), store(opened.writer()), media(opened.media()),
          reader(opened.assets()), locks(opened.locks()) {}

    /// Saves assets, with one commit for all, up to the thumbnails: finish() makes them. Blocks; gives a
    /// result for each job, in order.
    [[nodiscard]] std::vector<SaveResult> begin(std::span<const SaveJob> jobs);

    /// Makes the thumbnails that are due, with one commit for all, and brings the results up to date. Blocks.
    void finish(std::span<SaveResult> results);

    /// Both.
    [[nodiscard]] std::vector<SaveResult> save(std::span<const SaveJob> jobs);

    /// Makes the thumbnails that an earlier process left to be made. Blocks; stops where it can when the
    /// process is ending.
    void finishDue();

    /// Takes an asset and all its files out of the library: all of it, whatever the instant of a kill, or
    /// nothing. Blocks. An empty text on success, also when it has gone already, else the reason.
    [[nodiscard]] std::string remove(const store::AssetRecord &asset);

    /// Puts right what a killed process left. Before the first save.
    void recover();

private:
    struct Staged;
    struct ReleasedReservations;
    struct Finished;
    [[nodiscard]] Finished makeDueThumbnails(const store::AssetRecord &asset);
    // Each gives an empty text on success, else the reason for which the job fails.
    [[nodiscard]] std::string stage(const SaveJob &job, Staged &staged);
    [[nodiscard]] std::string encodeSurface(const ImageSurface &surface, MediaFormat format, int output);
    [[nodiscard]] std::string examine(const SaveJob &job, const SaveOrder &order, Staged &staged,
                                      int original);
    [[nodiscard]] bool makeThumbnails(const ImageSurface &picture, const Staged &staged,
                                      std::span<const ThumbnailTarget> targets);
    [[nodiscard]] std::string publish(std::span<Staged *const> group);
    [[nodiscard]] SaveResult resultOf(Staged &&staged) const;
    [[nodiscard]] Ref<store::ManagedAsset> assetOf(store::AssetRecord record) const;
    [[nodiscard]] std::string reserve(Staged &staged);
    void removeFiles(const std::string &stageFolder, const store::AssetRecord &record);

    Library &library;
    const store::LibraryPaths &paths;
    Store &store;
    MediaWorkers &media;
    store::ObjectStore &reader;
    AssetLocks &locks;
};

} // namespace wickerlane::hoardd

#endif

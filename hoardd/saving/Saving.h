// Saving assets so that each is there whole or not at all, whenever the process is killed.
//
// The steps of a save:
//
// 1. A folder is made for the asset in the library's Saving folder, named as the original will be.
//
// 2. The original is written there. A media worker takes a first look at it: its dates, its place, and its
// thumbnails if it is small, or the small preview that it may carry, which serves as its thumbnails for the
// moment.
//
// The second file of the same shot that a job may name is written there as well. If it turns out to be none,
// it goes.
//
// 3. The originals of several jobs are synced in a row. Their files move to their places, whose folders are
// synced.
//
// 4. The rows are committed. From here on the assets are saved, and everybody sees them.
//
// 5. The folders, now empty, go.
//
// 6. A worker decodes each larger picture, and the real thumbnails take their places.
//
// Staging.h is the first two, Publication.h the next three, hoardd/pictures/Thumbnails.h the last. As long as
// the folder stands, what it stands for is unfinished: after a kill, recoverSaves() keeps the asset if its
// row was committed. Otherwise it moves an original that is in its place into the Found folder, whose files
// are saved next, since the row may have been lost with its store; what was not in its place goes. That
// thumbnails are due is in the store, until they have been synced, many at once: after a kill,
// makeThumbnailsLeftDue() makes them.
#ifndef HOARDD_SAVING_SAVING_H
#define HOARDD_SAVING_SAVING_H

#include <span>
#include <vector>

#include "hoardd/library/Library.h"
#include "hoardd/saving/Companions.h"
#include "hoardd/saving/SaveJob.h"

namespace wickerlane::hoardd {

/// The outcome of a job.
struct SavedAsset {
    Ref<ManagedAsset> asset;
    bool wasPresent = false; ///< The asset was there before, and nothing was saved.
    bool isDue = false;      ///< Its thumbnails are still to be made.
    CompanionOutcome companion = CompanionOutcome::none; ///< Of the second file that the job named.
    Result<> thumbnails{}; ///< Why it has none yet, though nothing says that it can't be decoded.
};

/// Takes the first five steps for several jobs, with one commit for all. Blocks; gives a result for each job,
/// in order. The problem is `empty` when a job names nothing to save.
[[nodiscard]] std::vector<Result<SavedAsset>> beginSaves(Library &library, std::span<const SaveJob> jobs);

/// Takes the last step for those whose thumbnails are due, with one commit for all, and brings them up to
/// date. What is saved stays so, even when its thumbnails fail. Blocks.
void finishSaves(Library &library, std::span<Result<SavedAsset>> saves);

/// All the steps.
[[nodiscard]] std::vector<Result<SavedAsset>> saveAssets(Library &library, std::span<const SaveJob> jobs);

} // namespace wickerlane::hoardd

#endif

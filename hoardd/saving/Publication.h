// The last steps of a save, and the same steps back: see Saving.h.
#ifndef HOARDD_SAVING_PUBLICATION_H
#define HOARDD_SAVING_PUBLICATION_H

#include <span>

#include "hoardd/library/Library.h"
#include "hoardd/saving/Staging.h"

namespace wickerlane::hoardd {

/// Moves the files of assets to their places, and commits their rows: all or none. Those whose bytes turn out
/// to be there already become `present`, and their files go.
[[nodiscard]] Result<> publishAssets(Library &library, std::span<StagedAsset *const> assets);

/// Takes an asset and all its files out of the library or the trash for good: all of it or nothing, even if
/// the process is killed. Succeeds also when it has gone already. On failure it stays. Blocks.
[[nodiscard]] Result<> removeAsset(Library &library, const AssetRecord &asset,
                                   AssetPlace from = AssetPlace::library);

/// Tries again to remove what is left of assets that have been removed. Blocks.
void finishRemovals(Library &library);

/// Completes or undoes what a killed process left, whatever store is there now. No original is lost with it:
/// one that no row names moves into the Found folder. A removal that was begun is finished. Before the first
/// save.
void recoverSaves(Library &library);

} // namespace wickerlane::hoardd

#endif

// The functions that wait for the daemon and say whether it has done what they ask.
#ifndef WICKERLANE_TESTS_API_WAITINGCALLS_H
#define WICKERLANE_TESTS_API_WAITINGCALLS_H

#include <functional>
#include <utility>
#include <vector>

#include "wickerlane/api/Wickerlane.h"

namespace wickerlane::test {

/// Those that any library with two assets can do, with their names: the daemon does them all, and without one
/// they all fail.
inline std::vector<std::pair<const char *, std::function<bool(WLError **)>>> waitingCalls(WLAsset *asset,
                                                                                          WLAsset *other) {
    Array *const assets = Array::of({asset, other});
    return {
        {"access", WLHasAccess},
        {"make", WLLibraryMake},
        {"import", WLLibraryImportFiles},
        {"update", WLLibraryUpdateAfterOTARestore},
        {"finished", [](WLError **error) { return WLLibraryHasFinishedRestore(error) || !WLLastError(); }},
        {"singletons", WLLibraryRepairSingletons},
        {"empty", WLTrashEmpty},
        {"dates", [=](WLError **error) { return WLAssetsAdjustDates(assets, 1, error); }},
        {"use", [=](WLError **error) { return WLAssetSetExternalUsageIntent(asset, 1, error); }},
        {"thumbnails", [=](WLError **error) { return WLAssetsMakeThumbnails(assets, true, true, error); }},
        {"all thumbnails", WLThumbnailsRebuild},
        {"moments", [](WLError **error) { return WLMomentsRebuild(true, error); }},
        {"lists", WLMomentListsRebuild},
        {"analyze", WLMomentsAnalyze},
        {"out of date", WLAnalyzeWhatIsOutOfDate},
        {"analyzed", WLMomentsAreAnalyzed},
        {"list", [](WLError **error) { return WLMomentListAnalyze(1, error); }},
        {"reset", WLDuplicatesReset},
        {"duplicates", [=](WLError **error) { return WLAssetsSetAreDuplicates(assets, false, error); }},
        {"feed", WLFeedRebuild},
        {"stream", [](WLError **error) { return WLStreamAddAlbum("s", error); }},
        {"purgeable", [](WLError **error) { return WLSharedAssetsPurgeableBytes(error) >= 0; }},
        {"purge", [](WLError **error) { return WLSharedAssetsPurge(1, error) >= 0; }},
        {"key", [](WLError **error) { return WLEmailAddressKey("a@example.org", error) >= 0; }},
        {"badge", [](WLError **error) { return WLBadgeCount(error) >= 0; }},
    };
}

} // namespace wickerlane::test

#endif

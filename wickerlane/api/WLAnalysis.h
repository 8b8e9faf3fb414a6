// What the daemon finds out about the assets: having it done again. WLMoment.h asks for what was found.
//
// All functions return false on failure. `error` may be null; what is stored there is borrowed: it is what
// WLLastError() gives, and null when the daemon has done it. All block, those that rebuild or analyze for a
// long time in a large library.
#ifndef WICKERLANE_API_WLANALYSIS_H
#define WICKERLANE_API_WLANALYSIS_H

#include "wickerlane/api/WLMoment.h"

/// Makes the moments again; only where assets have changed if `isIncremental`.
WL_EXTERN_C bool WLMomentsRebuild(bool isIncremental, WLError **error);

/// Makes the lists of moments again.
WL_EXTERN_C bool WLMomentListsRebuild(WLError **error);

/// Analyzes all moments.
WL_EXTERN_C bool WLMomentsAnalyze(WLError **error);

/// Analyzes the moments and duplicates that are out of date.
WL_EXTERN_C bool WLAnalyzeWhatIsOutOfDate(WLError **error);

/// Whether no moment is left to analyze; false on failure, too.
WL_EXTERN_C bool WLMomentsAreAnalyzed(WLError **error);

/// Lets the daemon analyze a moment soon, without waiting for it. A null moment is WLErrorInvalid.
WL_EXTERN_C bool WLMomentAnalyze(const WLMoment *moment, WLError **error);

/// The same for a list of moments, by its number (WLMomentListNumber()). 0 is WLErrorInvalid.
WL_EXTERN_C bool WLMomentListAnalyze(int64_t listNumber, WLError **error);

/// Discards the found duplicates, and searches again.
WL_EXTERN_C bool WLDuplicatesReset(WLError **error);

/// With false, records that no two of these assets are duplicates of each other; with true, withdraws that.
/// `assets` holds 2 to 1000 WLAsset objects; others are ignored.
WL_EXTERN_C bool WLAssetsSetAreDuplicates(WLArray *assets, bool areDuplicates, WLError **error);

#endif

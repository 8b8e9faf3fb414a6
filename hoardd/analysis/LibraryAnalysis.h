// The analysis of a library as a whole: long work, see Moments.h.
#ifndef HOARDD_ANALYSIS_LIBRARYANALYSIS_H
#define HOARDD_ANALYSIS_LIBRARYANALYSIS_H

#include "hoardd/analysis/MomentAnalysisStore.h"
#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Brings the moments up to date and analyzes them: all, or those that have changed.
[[nodiscard]] Result<> analyzeAfterUpdate(Library &library, AnalysisScope::Kind kind);

/// Finds duplicates, and then does the same with the moments that have changed.
[[nodiscard]] Result<> analyzeChanges(Library &library);

/// Whether there is nothing left for analyzeChanges().
[[nodiscard]] Result<bool> isAnalyzed(Library &library);

/// What becomes of an analysis that nobody asked for.
enum class UnaskedOutcome {
    done,     ///< Also when it failed, which is logged.
    unwanted, ///< By the preference AnalyzesUnasked.
    onBattery ///< To be tried later; unless the preference AnalyzesOnBattery is set.
};
/// Analyzes the changes if that is wanted now, at a low priority. `powerSupplies` is as of isOnBattery().
UnaskedOutcome analyzeUnasked(Library &library, const std::string &powerSupplies);

} // namespace wickerlane::hoardd

#endif

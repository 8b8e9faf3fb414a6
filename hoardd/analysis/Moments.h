// Moments of a whole library: long work, one piece at a time. Each piece reads over a connection that blocks
// no other, and writes in short transactions, so that saves go on meanwhile. Interrupted at any instant, it
// can start again: what was written stands, and what is left to do is known from the store. All block.
#ifndef HOARDD_ANALYSIS_MOMENTS_H
#define HOARDD_ANALYSIS_MOMENTS_H

#include "hoardd/analysis/MomentAnalysisStore.h"
#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Groups the assets into moments and these into lists: all of them, or only around what has changed.
[[nodiscard]] Result<> rebuildMoments(Library &library, bool incremental);
/// Works out what moments and their lists hold, and their key assets.
[[nodiscard]] Result<> analyzeMoments(Library &library, const AnalysisScope &scope);

} // namespace wickerlane::hoardd

#endif

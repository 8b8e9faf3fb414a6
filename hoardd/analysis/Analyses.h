// What hoardd works out of a whole library: moments, duplicates, the cloud feed, thumbnails.
#ifndef HOARDD_ANALYSIS_ANALYSES_H
#define HOARDD_ANALYSIS_ANALYSES_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hoardd/analysis/DuplicateStore.h"
#include "hoardd/analysis/MomentStore.h"
#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Long work on an open library, one piece at a time. It is read over a connection that hinders nobody,
/// worked out, and written in short transactions, so that saves go on meanwhile. Interrupted at any instant,
/// it can begin again: what was written stands, and what is left to do is known from the store.
///
/// The functions block; each gives an empty text when all was done, else the reason.
class Analyses {
public:
    explicit Analyses(Library &opened) : library(opened) {}

    /// Groups the assets into moments and these into lists: all of them, or only around what has changed.
    [[nodiscard]] std::string rebuildMoments(bool incremental);
    [[nodiscard]] std::string rebuildMomentLists();
    /// Looks into moments and their lists.
    [[nodiscard]] std::string analyzeMoments(const AnalysisScope &scope);

    /// Looks at assets that have not been looked at, and groups duplicates if need be.
    [[nodiscard]] std::string analyzeDuplicates();
    /// Forgets what has been found; not what a person has said.
    [[nodiscard]] std::string resetDuplicates();
    /// Remembers whether assets, by their keys, may be duplicates of each other.
    [[nodiscard]] std::string setAreDuplicates(std::span<const std::int64_t> assets, bool areDuplicates);

    /// Gathers what came into the shared albums.
    [[nodiscard]] std::string rebuildCloudFeed();

    /// Makes all thumbnails anew.
    [[nodiscard]] std::string rebuildThumbnails();

private:
    [[nodiscard]] std::vector<std::optional<Fingerprint>> fingerprintsOf(std::span<const UnseenAsset> assets);
    [[nodiscard]] std::string lookAtUnseenAssets();
    [[nodiscard]] std::string groupDuplicates();

    Library &library;
};

} // namespace wickerlane::hoardd

#endif

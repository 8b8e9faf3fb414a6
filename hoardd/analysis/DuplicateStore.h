// Fingerprints and groups of duplicates in the store. The functions work in a transaction of the caller's;
// when one fails, the database says why.
//
// An asset without a fingerprint row of its present thumbnails has not been looked at. Whatever may change
// the groups counts up zduplicatestate.changed; they are right when `grouped` has reached it.
#ifndef HOARDD_ANALYSIS_DUPLICATESTORE_H
#define HOARDD_ANALYSIS_DUPLICATESTORE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hoardd/analysis/DuplicateRule.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// An asset that has to be looked at.
struct UnseenAsset {
    std::int64_t key = 0;
    std::string uuid;
    std::int64_t thumbnailIndex = 0;
};

/// The first assets, in the order of keys after `after`, that have to be looked at. Nothing on failure.
[[nodiscard]] std::optional<std::vector<UnseenAsset>> unseenAssets(sqlite::Database &database,
                                                                   std::int64_t after, std::size_t most);

/// All fingerprints, in no order. Nothing on failure.
[[nodiscard]] std::optional<std::vector<Fingerprint>> readFingerprints(sqlite::Database &database);

/// Writes what was seen of an asset, unless it has gone meanwhile. False on failure.
[[nodiscard]] bool writeFingerprint(sqlite::Database &database, const UnseenAsset &asset,
                                    const std::optional<Fingerprint> &fingerprint);

/// Whether there is another asset with the same bytes, or the asset is in a group. Nothing on failure.
[[nodiscard]] std::optional<bool> hasTies(sqlite::Database &database, std::int64_t asset);

/// Whether the groups may be wrong. Nothing on failure.
[[nodiscard]] std::optional<bool> areGroupsStale(sqlite::Database &database);
/// Says that they may be. False on failure.
[[nodiscard]] bool markGroupsStale(sqlite::Database &database);

struct DuplicatePlan {
    std::vector<DuplicateGroup> groups;
    std::int64_t changed = 0; ///< The state for which they are right.
};

/// Finds the groups of the whole library. Nothing on failure.
[[nodiscard]] std::optional<DuplicatePlan> planDuplicates(sqlite::Database &database);
/// Writes groups, as far as they differ from what is stored. False on failure.
[[nodiscard]] bool applyPlan(sqlite::Database &database, const DuplicatePlan &plan);

/// Forgets what was seen and found; not what a person has said. False on failure.
[[nodiscard]] bool forgetDuplicates(sqlite::Database &database);

/// Remembers that every two of some assets are no duplicates of each other, or takes that back. False on
/// failure.
[[nodiscard]] bool setAreDuplicates(sqlite::Database &database, std::span<const std::int64_t> assets,
                                    bool areDuplicates);

} // namespace wickerlane::hoardd

#endif

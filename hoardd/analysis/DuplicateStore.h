// Fingerprints and groups of duplicates in the store. The functions work in a transaction of the caller's.
//
// Triggers note in zduefingerprint which assets are to be fingerprinted: those without a fingerprint row of
// their present thumbnails. Whatever may change the groups counts up zduplicatestate.changed; they are right
// when `grouped` has reached it.
#ifndef HOARDD_ANALYSIS_DUPLICATESTORE_H
#define HOARDD_ANALYSIS_DUPLICATESTORE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hoardd/analysis/DuplicateGroups.h"
#include "hoardd/library/FingerprintMemory.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// An asset that is to be fingerprinted.
struct NewAsset {
    std::int64_t key = 0;
    std::string uuid;
    std::int64_t thumbnailIndex = 0;
};

/// The first assets, in the order of keys after `after`, that are to be fingerprinted.
[[nodiscard]] Result<std::vector<NewAsset>> assetsWithoutFingerprint(sqlite::Database &database,
                                                                     std::int64_t after, std::size_t limit);

/// How many there are.
[[nodiscard]] Result<std::uint64_t> countWithoutFingerprint(sqlite::Database &database);

/// All fingerprints with their assets, in no order.
[[nodiscard]] Result<FingerprintMemory::Known> readFingerprints(sqlite::Database &database);

/// Writes the fingerprints of assets, of each unless it has gone meanwhile; nothing of a picture without
/// features. There are as many of both.
[[nodiscard]] Result<> writeFingerprints(sqlite::Database &database, std::span<const NewAsset> assets,
                                         std::span<const std::optional<Fingerprint>> fingerprints);

/// Whether an asset has a fingerprint, of whatever thumbnails, and is in a group.
[[nodiscard]] Result<bool> isGrouped(sqlite::Database &database, std::int64_t asset);

/// Puts a new asset, whose fingerprint is written, into groups with those that it is like: with those of the
/// same bytes, and with those of the candidates that are. The groups must be right but for the asset. Gives
/// whether they are right then; if not, nothing has changed, and all have to be found again.
[[nodiscard]] Result<bool> linkAsset(sqlite::Database &database, std::int64_t asset,
                                     std::span<const std::int64_t> candidates);

/// Whether the groups may be wrong.
[[nodiscard]] Result<bool> areGroupsStale(sqlite::Database &database);
/// Notes that they may be.
[[nodiscard]] Result<> markGroupsStale(sqlite::Database &database);

struct DuplicatePlan {
    std::vector<DuplicateGroup> groups;
    std::int64_t changed = 0; ///< The state for which they are right.
};

/// Finds the groups of the whole library.
[[nodiscard]] Result<DuplicatePlan> planDuplicates(sqlite::Database &database);
/// Writes groups, as far as they differ from what is stored.
[[nodiscard]] Result<> applyPlan(sqlite::Database &database, const DuplicatePlan &plan);

/// Forgets fingerprints and groups, but not what a person has said.
[[nodiscard]] Result<> forgetDuplicates(sqlite::Database &database);

/// Remembers that every two of some assets are no duplicates of each other, or takes that back.
[[nodiscard]] Result<> setAreDuplicates(sqlite::Database &database, std::span<const std::int64_t> assets,
                                        bool areDuplicates);

} // namespace wickerlane::hoardd

#endif

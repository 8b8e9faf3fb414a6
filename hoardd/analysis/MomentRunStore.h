// Reading the assets around changes, of which moments are made, and the moments, of which lists are made.
#ifndef HOARDD_ANALYSIS_MOMENTRUNSTORE_H
#define HOARDD_ANALYSIS_MOMENTRUNSTORE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "hoardd/analysis/MomentRule.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// What moments are made of, and what lists are made of.
enum class RunsOf { assets, moments };

struct RunItem {
    std::int64_t key = 0;
    std::int64_t previousGroup = 0; ///< The moment or list in which it is stored; 0 for none.
    std::int64_t assetCount = 1;
    Interval interval;
};

/// Items in order of time. Those before `first` and from `last` on only help to find the boundaries between
/// the others.
struct Run {
    std::vector<RunItem> items;
    std::size_t first = 0;
    std::size_t last = 0;
};

/// What has changed since moments or lists were made.
struct RunChanges {
    std::vector<double> dates;     ///< Around which something has changed, in order.
    std::set<std::int64_t> groups; ///< The moments or lists from which something has gone.
    std::int64_t last = 0;         ///< The newest note of a change; 0 when there is none.
};
/// Those of assets, since moments were made.
[[nodiscard]] Result<RunChanges> readMomentChanges(sqlite::Database &database);

/// The runs around changes. Each ends, on either side, at a boundary that is stored and that no change can
/// have moved, so that each group is either wholly in a run or wholly outside.
[[nodiscard]] Result<std::vector<Run>> readRunsAround(sqlite::Database &database, RunsOf of,
                                                      std::span<const double> dates);
/// All items as one run.
[[nodiscard]] Result<std::vector<Run>> readWholeRun(sqlite::Database &database, RunsOf of);

/// The items of each group by a rule. They are part of the runs.
[[nodiscard]] std::vector<std::span<const RunItem>> groupsIn(const std::vector<Run> &runs,
                                                             const BoundaryRule &rule);

/// The key of each group, and 0 for one that gets a new key; and the stored groups that may have gone,
/// besides those of which that is known.
struct GroupKeys {
    std::vector<std::int64_t> keys;
    std::set<std::int64_t> maybeGone;
};
[[nodiscard]] GroupKeys keysOf(std::span<const std::span<const RunItem>> groups,
                               std::set<std::int64_t> maybeGone);

} // namespace wickerlane::hoardd

#endif

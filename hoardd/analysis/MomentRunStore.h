// Reading the assets around changes, of which moments are made.
#ifndef HOARDD_ANALYSIS_MOMENTRUNSTORE_H
#define HOARDD_ANALYSIS_MOMENTRUNSTORE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "hoardd/analysis/MomentRule.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// The place in two columns of a row, a latitude and the longitude after it.
[[nodiscard]] std::optional<Place> placeIn(const sqlite::Statement &row, int latitude);

struct MomentAsset {
    std::int64_t key = 0;
    std::int64_t previousMoment = 0; ///< In which it is stored; 0 for none.
    Interval interval;
};

/// Assets in order of time. Those before `first` and from `last` on only help to find the boundaries between
/// the others.
struct MomentRun {
    std::vector<MomentAsset> assets;
    std::size_t first = 0;
    std::size_t last = 0;
};

/// What has changed since moments were made.
struct MomentChanges {
    std::vector<double> dates;      ///< Around which something has changed, in order.
    std::set<std::int64_t> moments; ///< From which something has gone.
    std::int64_t last = 0;          ///< The newest note of a change; 0 when there is none.
};
[[nodiscard]] Result<MomentChanges> readMomentChanges(sqlite::Database &database);

/// The runs around changes. Each ends, on either side, at a boundary that is stored and that no change can
/// have moved, so that each moment is either wholly in a run or wholly outside.
[[nodiscard]] Result<std::vector<MomentRun>> readRunsAround(sqlite::Database &database,
                                                            const MomentChanges &changes);
/// All assets as one run.
[[nodiscard]] Result<std::vector<MomentRun>> readWholeRun(sqlite::Database &database);

} // namespace wickerlane::hoardd

#endif

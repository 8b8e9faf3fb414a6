// Moments in the store. The functions work in a transaction of the caller's.
//
// Triggers note in zmomentchange the date of every asset that came, went, or got another date or place. From
// these dates a plan is made, over a connection that only reads: what has to be written so that the moments
// are right again. Applying it removes the notes in the same transaction. So even if the process is killed,
// what is not done is still noted.
#ifndef HOARDD_ANALYSIS_MOMENTSTORE_H
#define HOARDD_ANALYSIS_MOMENTSTORE_H

#include <cstdint>
#include <optional>
#include <vector>

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// What has to be written.
struct MomentPlan {
    /// A moment that is new or not as it is stored.
    struct Moment {
        std::int64_t key = 0; ///< 0 for a new one.
        double start = 0;
        double end = 0;
        std::int64_t assetCount = 0;
        std::optional<double> latitude;
        std::optional<double> longitude;
        std::vector<std::int64_t> newAssets; ///< Those that were in no moment or in another one.
        bool operator==(const Moment &) const = default;
    };
    std::vector<Moment> moments;    ///< In order of time.
    std::vector<std::int64_t> gone; ///< Moments that have no assets any more, in order of keys.
    std::int64_t lastChange = 0;    ///< The newest note that was read.
    bool isWhole = false;           ///< Made of the whole library.
    bool operator==(const MomentPlan &) const = default;
};

/// Plans the moments of the whole library, or around what has changed; both come to the same.
[[nodiscard]] Result<MomentPlan> planMoments(sqlite::Database &database, bool incremental);

/// Whether nothing has changed since a plan was made.
[[nodiscard]] Result<bool> isCurrent(sqlite::Database &database, const MomentPlan &plan);

/// Writes what a current plan says, and rebuilds the lists.
[[nodiscard]] Result<> applyPlan(sqlite::Database &database, const MomentPlan &plan);

} // namespace wickerlane::hoardd

#endif

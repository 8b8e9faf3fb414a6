// Moments and lists of moments in the store. The functions work in a transaction of the caller's; when one
// fails, the database says why.
//
// Triggers note in zmomentchange the date of every asset that came, went, or got another date or place. From
// these dates a plan is made, over a connection that only reads: what has to be written so that the moments
// are right again. It is applied at once with the removal of the notes, so that whatever the instant of a
// kill, what is not done is still noted.
#ifndef HOARDD_ANALYSIS_MOMENTSTORE_H
#define HOARDD_ANALYSIS_MOMENTSTORE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hoardd/analysis/MomentRule.h"
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
    std::vector<Moment> moments;    ///< In the order of time.
    std::vector<std::int64_t> gone; ///< Moments that have no assets any more, in the order of keys.
    std::int64_t lastChange = 0;    ///< The newest note that has been seen.
    bool operator==(const MomentPlan &) const = default;
};

/// Plans the moments of the whole library, or around what has changed; both come to the same. Nothing on
/// failure.
[[nodiscard]] std::optional<MomentPlan> planMoments(sqlite::Database &database, bool incremental);

/// Whether nothing has changed since a plan was made.
[[nodiscard]] bool isCurrent(sqlite::Database &database, const MomentPlan &plan);

/// Writes what a current plan says, and the lists anew. False on failure.
[[nodiscard]] bool applyPlan(sqlite::Database &database, const MomentPlan &plan);

/// Groups the moments into lists. Lists that stay as they are are not touched. False on failure.
[[nodiscard]] bool rebuildMomentLists(sqlite::Database &database);

/// Which moments and lists are to be analyzed.
struct AnalysisScope {
    enum class Kind { all, invalid, oneMoment, oneList };
    Kind kind = Kind::invalid; ///< Invalid are those that have changed since their analysis.
    std::int64_t key = 0;      ///< Of the one moment or list.
};

/// The moments in a scope; of a list, its moments. Nothing on failure.
[[nodiscard]] std::optional<std::vector<std::int64_t>> momentsIn(sqlite::Database &database,
                                                                 const AnalysisScope &scope);
/// Works out how many photos and videos a moment holds and which asset stands for it. False on failure.
[[nodiscard]] bool analyzeMoment(sqlite::Database &database, std::int64_t moment);
/// Works out which asset stands for each list in a scope, by its moments, which were analyzed before. False
/// on failure.
[[nodiscard]] bool analyzeLists(sqlite::Database &database, const AnalysisScope &scope);

} // namespace wickerlane::hoardd

#endif

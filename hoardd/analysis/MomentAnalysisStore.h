// What is worked out of stored moments. The functions work in a transaction of the caller's.
#ifndef HOARDD_ANALYSIS_MOMENTANALYSISSTORE_H
#define HOARDD_ANALYSIS_MOMENTANALYSISSTORE_H

#include <cstdint>
#include <span>
#include <vector>

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// Which moments and lists are to be analyzed.
struct AnalysisScope {
    enum class Kind { all, invalid, oneMoment, oneList };
    Kind kind = Kind::invalid; ///< Invalid are those that have changed since their analysis.
    std::int64_t key = 0;      ///< Of the one moment or list.
};

/// The moments in a scope; of a list, its moments.
[[nodiscard]] Result<std::vector<std::int64_t>> momentsIn(sqlite::Database &database,
                                                          const AnalysisScope &scope);
/// Works out how many photos and videos moments hold, and their key assets.
[[nodiscard]] Result<> analyzeMoments(sqlite::Database &database, std::span<const std::int64_t> moments);
/// Works out the key asset of each list in a scope, from its moments, which were analyzed before.
[[nodiscard]] Result<> analyzeLists(sqlite::Database &database, const AnalysisScope &scope);

} // namespace wickerlane::hoardd

#endif

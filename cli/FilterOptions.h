// Conditions that say which assets a subcommand is about: as options, and as one query.
#ifndef CLI_FILTEROPTIONS_H
#define CLI_FILTEROPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

/// The values of the conditions in the order of conditionNames(); empty for those that are not given.
struct FilterOptions {
    std::vector<std::string> values;
    std::string query; ///< More conditions, in one text.
};

/// A query that asks for all assets on purpose.
inline constexpr const char *allAssets = "all";

/// "kind", "from", ...
[[nodiscard]] std::vector<std::string> conditionNames();

/// An option for each condition, and --where.
void addFilterOptions(const Command &command, FilterOptions &options);
/// --where alone.
Option addQueryOption(const Command &command, std::string &query);

/// Asks the daemon for the album and the moment that are named.
Result<AssetFilter> filterOf(const FilterOptions &options);
/// The same for conditions in one text, as in: kind=video album="At sea". At least one must be there.
Result<AssetFilter> filterOfQuery(const std::string &query);

/// The first moment of a year, month or day, "2019", "2019-08" or "2019-08-31", and the first moment after
/// it: seconds since 2001-01-01 00:00:00. Nothing for another text.
struct Period {
    double begin = 0;
    double end = 0;
};
std::optional<Period> periodIn(const std::string &text);

} // namespace wickerlane::cli

#endif

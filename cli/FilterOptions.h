// Options that say which assets a subcommand is about.
#ifndef CLI_FILTEROPTIONS_H
#define CLI_FILTEROPTIONS_H

#include <string>

#include "cli/CommandLine.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

struct FilterOptions {
    std::string kind, from, to, near, album, name, camera;
    std::uint64_t rating = 0;
    bool favourite = false, edited = false, problem = false;
};

void addFilterOptions(const Command &command, FilterOptions &options);

/// Asks the daemon for the album if one is named.
Result<AssetFilter> filterOf(const FilterOptions &options);

/// The first moment of a year, month or day, "2019", "2019-08" or "2019-08-31", and the first moment after
/// it: seconds since 2001-01-01 00:00:00. Nothing for another text.
struct Period {
    double begin = 0;
    double end = 0;
};
std::optional<Period> periodIn(const std::string &text);

} // namespace wickerlane::cli

#endif

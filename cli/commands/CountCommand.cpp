// wickerlane count
#include <nlohmann/json.hpp>

#include <algorithm>

#include "cli/FilterOptions.h"
#include "cli/LibraryCounts.h"
#include "cli/LibraryState.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"

namespace wickerlane::cli {
namespace {

struct Options {
    FilterOptions filter;
    bool json = false;
};

Result<std::uint64_t> countKind(AssetFilter filter, AssetKind kind) {
    if (filter.kind && *filter.kind != kind)
        return 0;
    filter.kind = kind;
    return orLastError(JXGatekeeperClient::sharedInstance()->countOfAssets(filter));
}

Result<LibraryCounts> countFound(const FilterOptions &options) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    const auto filter = filterOf(options);
    if (!filter)
        return passOn(filter);
    const auto photos = countKind(*filter, AssetKind::photo);
    if (!photos)
        return passOn(photos);
    const auto videos = countKind(*filter, AssetKind::video);
    if (!videos)
        return passOn(videos);
    return LibraryCounts{*photos, *videos};
}

Result<ExitCode> count(const Options &options) {
    const FilterOptions &filter = options.filter;
    const bool isWhole = filter.query.empty() && std::ranges::all_of(filter.values, &std::string::empty);
    const auto counts = isWhole ? countLibrary() : countFound(filter);
    if (!counts)
        return passOn(counts);
    if (options.json)
        printJSON(describe(*counts));
    else
        print(textOf(*counts));
    return ExitCode::success;
}

} // namespace

void setUpCount(Command command) {
    command.footer("Examples:\n"
                   "  wickerlane count --json\n"
                   "  wickerlane count --where 'from=2019 to=2019 favourite'");
    Options &options = command.runs(count);
    addFilterOptions(command, options.filter);
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli

// wickerlane list, wickerlane find
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <limits>

#include "cli/AssetListing.h"
#include "cli/FilterOptions.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

struct Options {
    FilterOptions filter;
    std::vector<std::string> words; ///< What is to be found.
    std::string sort = "oldest";
    std::uint64_t offset = 0;
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
    AssetListingOptions listing;
};

AssetQuery queryOf(const std::string &sort) {
    if (sort == "added")
        return {.order = AssetOrder::added, .isDescending = true};
    if (sort == "largest")
        return {.order = AssetOrder::size, .isDescending = true};
    if (sort == "name")
        return {.order = AssetOrder::name};
    return {.isDescending = sort == "newest"};
}

Result<ExitCode> list(const Options &options) {
    AssetQuery query = queryOf(options.sort);
    auto filter = filterOf(options.filter);
    if (!filter)
        return passOn(filter);
    query.filter = *std::move(filter);
    if (!options.words.empty())
        query.filter.text =
            fmt::format("{} {}", query.filter.text.value_or(""), fmt::join(options.words, " "));
    auto listing = AssetListing::create(options.listing);
    if (!listing)
        return passOn(listing);
    const auto listed = forEachAsset(query, options.offset, options.limit,
                                     [&](const ManagedAsset &asset) { listing->add(asset); });
    if (!listed)
        return passOn(listed);
    listing->end(localized("no assets"));
    return ExitCode::success;
}

void addOptions(const Command &command, Options &options) {
    command.addOption("--limit", options.limit, "Maximum number of assets to list")
        .notNegative()
        .typeName("COUNT");
    command.addOption("--offset", options.offset, "Number of assets to skip at the start")
        .notNegative()
        .typeName("COUNT");
    addFilterOptions(command, options.filter);
    command
        .addOption("--sort", options.sort,
                   "Which come first: oldest (default), newest, added (latest), largest, name")
        .oneOf({"oldest", "newest", "added", "largest", "name"})
        .typeName("ORDER");
    addListingOptions(command, options.listing);
}

} // namespace

void setUpList(Command command) {
    command.footer(
        "Examples:\n"
        "  wickerlane list --sort newest --limit 20\n"
        "  wickerlane list --from 2019-08 --to 2019-09 --near 47.4,8.5,10km\n"
        "  wickerlane list --kind photo --format csv --fields name,created,camera\n"
        "  wickerlane list --where 'kind=video rating=4' --format ids0 | wickerlane export - --to ~/best");
    addOptions(command, command.runs(list));
}

void setUpFind(Command command) {
    command.footer("An asset is found when each of the words is in its name, caption, keywords, camera\n"
                   "or the title of an album that it is in. The case of letters does not count.\n\n"
                   "Examples:\n"
                   "  wickerlane find beach\n"
                   "  wickerlane find dunes evening --kind photo --rating 3");
    Options &options = command.runs(list);
    command.addOption("WORD", options.words, "Words to be found").required().notEmpty();
    addOptions(command, options);
}

} // namespace wickerlane::cli

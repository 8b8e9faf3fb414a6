// wickerlane list
#include <nlohmann/json.hpp>

#include <limits>

#include "cli/AssetDescription.h"
#include "cli/FilterOptions.h"
#include "cli/Formatting.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"

namespace wickerlane::cli {
namespace {

struct Options {
    FilterOptions filter;
    std::string sort = "oldest";
    std::uint64_t offset = 0;
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
    bool json = false;
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
    using Align = Table::Align;
    Listing listing(
        {{"UUID"}, {"KIND"}, {"CREATED"}, {"PIXELS", Align::right}, {"SIZE", Align::right}, {"NAME"}},
        options.json);
    const auto listed = forEachAsset(query, options.offset, options.limit, [&](const ManagedAsset &asset) {
        const AssetRecord &record = asset.record();
        if (options.json)
            listing.add(describe(asset));
        else
            listing.addRow({record.uuid, kindText(record), createdText(record), pixelsText(record, "-"),
                            sizeText(record.byteSize), outsideName(record)});
    });
    if (!listed)
        return passOn(listed);
    listing.end("no assets");
    return ExitCode::success;
}

} // namespace

void setUpList(Command command) {
    command.footer("Examples:\n"
                   "  wickerlane list --sort newest --limit 20\n"
                   "  wickerlane list --from 2019-08 --to 2019-09 --near 47.4,8.5,10km\n"
                   "  wickerlane list --kind photo --json | jq -r '.[].uuid'");
    Options &options = command.runs(list);
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
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli

// wickerlane list
#include <nlohmann/json.hpp>

#include "cli/AssetDescription.h"
#include "cli/Formatting.h"
#include "cli/StoreLookup.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"

namespace wickerlane::cli {
namespace {

struct Options {
    store::Listing query;
    std::string kind;
    std::string sort = "oldest";
    bool json = false;
};

Result<ExitCode> list(const Options &options) {
    const auto store = openStore();
    if (!store)
        return passOn(store);
    store::Listing query = options.query;
    query.newestFirst = options.sort == "newest";
    if (!options.kind.empty())
        query.kind = options.kind == "photo" ? AssetKind::photo : AssetKind::video;
    const auto assets = (*store)->assets(query);
    if (!assets)
        return failToReadStore(assets);

    JSON all = JSON::array();
    using Align = Table::Align;
    Table table(
        {{"UUID"}, {"KIND"}, {"CREATED"}, {"PIXELS", Align::right}, {"SIZE", Align::right}, {"NAME"}});
    for (const auto &asset : *assets) {
        const AssetRecord &record = asset->record();
        if (options.json)
            all.push_back(describe(*asset));
        else
            table.add({record.uuid, kindText(record), createdText(record), pixelsText(record, "-"),
                       sizeText(record.byteSize), outsideName(record)});
    }
    printListing(all, table, "no assets", options.json);
    return ExitCode::success;
}

} // namespace

void setUpList(Command command) {
    command.footer("Examples:\n"
                   "  wickerlane list --sort newest --limit 20\n"
                   "  wickerlane list --kind photo --json | jq -r '.[].uuid'");
    Options &options = command.runs(list);
    command.addOption("--limit", options.query.limit, "Maximum number of assets to list")
        .notNegative()
        .typeName("COUNT");
    command.addOption("--offset", options.query.offset, "Number of assets to skip at the start")
        .notNegative()
        .typeName("COUNT");
    command.addOption("--kind", options.kind, "Only assets of this kind: photo, video")
        .oneOf({"photo", "video"})
        .typeName("KIND");
    command.addOption("--sort", options.sort, "Which come first: oldest (default), newest")
        .oneOf({"oldest", "newest"})
        .typeName("ORDER");
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli

// wickerlane list
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"

namespace wickerlane::cli {
namespace {

struct Options {
    store::AssetQuery query;
    std::string kind;
    std::string sort = "oldest";
    bool json = false;
};

void printTable(Array *assets) {
    using Align = Table::Align;
    Table table(
        {{"UUID"}, {"KIND"}, {"CREATED"}, {"PIXELS", Align::right}, {"SIZE", Align::right}, {"NAME"}});
    for (Object *each : *assets) {
        const store::AssetRecord &record = as<store::ManagedAsset>(each)->record();
        table.add({record.uuid, record.kind == store::AssetKind::photo ? "photo" : "video",
                   dateText(record.dateCreated),
                   record.width > 0 ? fmt::format("{}x{}", record.width, record.height) : "-",
                   sizeText(record.byteSize), outsideName(record)});
    }
    table.print();
}

ExitCode list(Options options) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;

    options.query.newestFirst = options.sort == "newest";
    if (!options.kind.empty())
        options.query.kind = options.kind == "photo" ? store::AssetKind::photo : store::AssetKind::video;
    Array *assets = store->assets(options.query);
    if (assets == nullptr)
        return fail(ExitCode::failure, "the library's store could not be read");

    if (options.json) {
        JSON all = JSON::array();
        for (Object *each : *assets)
            all.push_back(describe(*as<store::ManagedAsset>(each)));
        printJSON(all);
    } else if (assets->count() > 0) {
        printTable(assets);
    } else {
        note("no assets");
    }
    return ExitCode::success;
}

} // namespace

void addList(Command app, Action &chosen) {
    const auto command = app.addSubcommand("list", "List what the library holds, by date of creation");
    command.footer("Examples:\n"
                   "  wickerlane list --sort newest --limit 20\n"
                   "  wickerlane list --kind photo --json | jq -r '.[].uuid'");
    auto options = std::make_shared<Options>();
    command.addOption("--limit", options->query.limit, "List at most so many")
        .notNegative()
        .typeName("COUNT");
    command.addOption("--offset", options->query.offset, "Leave out so many of the first")
        .notNegative()
        .typeName("COUNT");
    command.addOption("--kind", options->kind, "Only those of a kind: photo, video")
        .oneOf({"photo", "video"})
        .typeName("KIND");
    command.addOption("--sort", options->sort, "Which come first: oldest (the default), newest")
        .oneOf({"oldest", "newest"})
        .typeName("ORDER");
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return list(*options); }; });
}

} // namespace wickerlane::cli

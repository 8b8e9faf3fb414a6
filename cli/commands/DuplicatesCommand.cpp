// wickerlane duplicates
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/AssetDescription.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/StoreLookup.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool update = false;
    bool reset = false;
    bool json = false;
    std::string likeness;
    std::vector<std::string> apart;
    std::vector<std::string> together;
};

/// Tells the daemon whether the named assets may be duplicates of each other.
Result<> decide(store::StoreReader &store, const std::vector<std::string> &names, bool areDuplicates) {
    if (names.empty())
        return {};
    const auto photos = MutableArray::create();
    for (const std::string &name : names) {
        const auto asset = findAsset(store, name);
        if (!asset)
            return passOn(asset);
        photos->append(asset->get());
    }
    JXGatekeeperClient::sharedInstance()->setAreDuplicates(areDuplicates, photos.get());
    return {};
}

/// What the daemon is to do before the groups are shown.
Result<> askDaemon(store::StoreReader &store, const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return answers;
    auto *client = JXGatekeeperClient::sharedInstance();
    if (options.reset)
        client->resetDupesAnalysis();
    if (options.reset || options.update)
        client->analyzeInvalidMomentsAndDupesIfNeeded();
    if (const auto decided = decide(store, options.apart, false); !decided)
        return decided;
    return decide(store, options.together, true);
}

Result<> printGroups(store::StoreReader &store, const std::vector<DuplicatesRecord> &groups,
                     const Options &options) {
    using Align = Table::Align;
    Table table({{"GROUP", Align::right},
                 {"LIKENESS"},
                 {"UUID"},
                 {"CREATED"},
                 {"PIXELS", Align::right},
                 {"SIZE", Align::right},
                 {"NAME"}});
    JSON all = JSON::array();
    std::size_t number = 0;
    for (const DuplicatesRecord &group : groups) {
        const std::string likeness = group.isSame ? "same" : "similar";
        if (!options.likeness.empty() && options.likeness != likeness)
            continue;
        ++number;
        JSON assets = JSON::array();
        for (const std::string &uuid : group.uuids) {
            const ReleaseScope scope;
            const auto asset = store.assetWithUUID(uuid);
            if (!asset)
                return failToReadStore(asset);
            if (!*asset)
                continue; // deleted since
            const AssetRecord &record = (*asset)->record();
            table.add({std::to_string(number), likeness, record.uuid, createdText(record),
                       pixelsText(record, "-"), sizeText(record.byteSize), outsideName(record)});
            assets.push_back(describe(**asset));
        }
        all.push_back({{"likeness", likeness}, {"assets", std::move(assets)}});
    }
    printListing(all, table, "no duplicates", options.json);
    return {};
}

Result<ExitCode> duplicates(const Options &options) {
    const auto store = openStore();
    if (!store)
        return passOn(store);
    const bool analyzes = options.update || options.reset;
    if (analyzes || !options.apart.empty() || !options.together.empty())
        if (const auto done = askDaemon(**store, options); !done)
            return passOn(done);
    auto reader = openAnalyses(**store);
    if (!reader)
        return passOn(reader);
    const auto groups = reader->duplicates();
    if (!groups)
        return failToReadStore(groups);
    if (const auto printed = printGroups(**store, *groups, options); !printed)
        return passOn(printed);
    if (reader->areDuplicatesComplete().value_or(false))
        return ExitCode::success;
    if (analyzes)
        return fail(ProblemKind::failed,
                    "some photos are not analyzed: the analysis failed, or photos were added meanwhile; see "
                    "the daemon's log");
    note("some photos are not analyzed yet; to analyze them: wickerlane duplicates --update");
    return ExitCode::success;
}

} // namespace

void setUpDuplicates(Command command) {
    command.footer("Likeness:\n"
                   "  same     the same picture: the same bytes, or encoded again, or resized\n"
                   "  similar  another picture of the same subject, taken within a minute\n\n"
                   "Examples:\n"
                   "  wickerlane duplicates --update --likeness same\n"
                   "  wickerlane duplicates --not UUID --not UUID");
    Options &options = command.runs(duplicates);
    const auto update = command.addFlag("--update", options.update, "Analyze new photos first");
    command.addFlag("--reset", options.reset, "Delete all results and analyze all photos again first")
        .excludes(update);
    command.addOption("--likeness", options.likeness, "Only groups of this kind: same, similar")
        .oneOf({"same", "similar"})
        .typeName("LIKENESS");
    command
        .addOption("--not", options.apart,
                   "Remember that these assets, two or more, are not duplicates of each other")
        .valueCount(2, 1000)
        .typeName("ASSET...");
    command.addOption("--maybe", options.together, "Undo --not: these assets may be duplicates of each other")
        .valueCount(2, 1000)
        .typeName("ASSET...");
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli

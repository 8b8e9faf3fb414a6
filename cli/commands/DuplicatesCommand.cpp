// wickerlane duplicates
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/store/AnalysisReader.h"

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

/// Says of the assets that people named whether they may be duplicates of each other.
ExitCode decide(store::ObjectStore &store, const std::vector<std::string> &names, bool areDuplicates) {
    if (names.empty())
        return ExitCode::success;
    auto photos = MutableArray::create();
    for (const std::string &name : names) {
        const auto asset = findAsset(store, name);
        if (!asset)
            return ExitCode::notFound;
        photos->append(asset.get());
    }
    JXGatekeeperClient::sharedInstance()->setAreDuplicates(areDuplicates, photos.get());
    return ExitCode::success;
}

/// What the daemon is to do before the groups are shown.
ExitCode askDaemon(store::ObjectStore &store, const Options &options) {
    if (!daemonAnswers())
        return failUnreachable();
    auto *client = JXGatekeeperClient::sharedInstance();
    if (options.reset)
        client->resetDupesAnalysis();
    if (options.reset || options.update)
        client->analyzeInvalidMomentsAndDupesIfNeeded();
    const ExitCode decided = decide(store, options.apart, false);
    return decided == ExitCode::success ? decide(store, options.together, true) : decided;
}

ExitCode printGroups(store::ObjectStore &store, const std::vector<store::DuplicatesRecord> &groups,
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
    for (const store::DuplicatesRecord &group : groups) {
        const std::string likeness = group.isSame ? "same" : "similar";
        if (!options.likeness.empty() && options.likeness != likeness)
            continue;
        ++number;
        JSON assets = JSON::array();
        for (const std::string &uuid : group.uuids) {
            ReleaseScope scope;
            const store::ManagedAsset *asset = store.assetWithUUID(uuid);
            if (asset == nullptr)
                continue; // gone this instant
            const store::AssetRecord &record = asset->record();
            table.add({std::to_string(number), likeness, record.uuid, dateText(record.dateCreated),
                       record.width > 0 ? fmt::format("{}x{}", record.width, record.height) : "-",
                       sizeText(record.byteSize), outsideName(record)});
            assets.push_back(describe(*asset));
        }
        all.push_back({{"likeness", likeness}, {"assets", std::move(assets)}});
    }
    if (options.json)
        printJSON(all);
    else if (number > 0)
        table.print();
    else
        note("no duplicates");
    return ExitCode::success;
}

ExitCode duplicates(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;
    const bool works = options.update || options.reset || !options.apart.empty() || !options.together.empty();
    if (works)
        if (const ExitCode asked = askDaemon(*store, options); asked != ExitCode::success)
            return asked;
    std::string problem;
    auto reader = store::AnalysisReader::open(store->paths(), problem);
    const auto groups = reader ? reader->duplicates() : std::nullopt;
    if (!groups)
        return fail(ExitCode::failure,
                    "the library's store could not be read: " + (reader ? reader->problem() : problem));
    const ExitCode printed = printGroups(*store, *groups, options);
    if (printed != ExitCode::success || reader->areDuplicatesComplete().value_or(false))
        return printed;
    if (options.update || options.reset)
        return fail(ExitCode::failure, "the analysis could not be completed, or photos have come meanwhile; "
                                       "the daemon's log says more");
    note("some photos have not been looked at yet: wickerlane duplicates --update");
    return printed;
}

} // namespace

void addDuplicates(Command app, Action &chosen) {
    const auto command =
        app.addSubcommand("duplicates", "List photos and videos that are there more than once");
    command.footer("Likeness:\n"
                   "  same     the same picture, byte for byte, encoded anew or resized\n"
                   "  similar  another picture of the same, taken within a minute\n\n"
                   "Examples:\n"
                   "  wickerlane duplicates --update --likeness same\n"
                   "  wickerlane duplicates --not UUID --not UUID");
    auto options = std::make_shared<Options>();
    const auto update = command.addFlag("--update", options->update, "Look at new photos first");
    command.addFlag("--reset", options->reset, "Forget what was found, and look at all photos anew")
        .excludes(update);
    command.addOption("--likeness", options->likeness, "Only such groups: same, similar")
        .oneOf({"same", "similar"})
        .typeName("LIKENESS");
    command
        .addOption("--not", options->apart,
                   "Remember that these assets, two or more, are no duplicates of each other")
        .expected(2, 1000)
        .typeName("ASSET...");
    command
        .addOption("--maybe", options->together,
                   "Take that back: these assets may be duplicates of each other")
        .expected(2, 1000)
        .typeName("ASSET...");
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return duplicates(*options); }; });
}

} // namespace wickerlane::cli

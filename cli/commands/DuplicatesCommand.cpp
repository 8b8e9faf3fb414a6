// wickerlane duplicates
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/AssetDescription.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/LibraryState.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/AnalysisRows.h"

namespace wickerlane::cli {
namespace {

/// A group has several assets, all of which are shown.
constexpr std::size_t groupsOfPage = 200;

struct Options {
    bool update = false;
    bool reset = false;
    bool json = false;
    std::string likeness;
    std::vector<std::string> apart;
    std::vector<std::string> together;
};

/// Tells the daemon whether the named assets may be duplicates of each other.
Result<> decide(const std::vector<std::string> &names, bool areDuplicates) {
    if (names.empty())
        return {};
    const auto assets = askForAssets(names);
    if (!assets)
        return passOn(assets);
    const auto photos = MutableArray::create();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!(*assets)[i])
            return failToFindAsset(names[i]);
        photos->append((*assets)[i].get());
    }
    JXGatekeeperClient::sharedInstance()->setAreDuplicates(areDuplicates, photos.get());
    return {};
}

/// What the daemon is to do before the groups are shown.
Result<> askDaemon(const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return answers;
    if (options.reset)
        if (const auto done = waitForEndOfWork(client::Request(protocol::resetDupesAnalysis)); !done)
            return done;
    if (options.reset || options.update)
        if (const auto done =
                waitForEndOfWork(client::Request(protocol::analyzeInvalidMomentsAndDupesIfNeeded));
            !done)
            return done;
    if (const auto decided = decide(options.apart, false); !decided)
        return decided;
    return decide(options.together, true);
}

/// Adds groups to the listing; `number` is that of the last one.
Result<> addGroups(const std::vector<DuplicatesRecord> &groups, std::size_t &number, Listing &listing) {
    std::vector<std::string> uuids;
    for (const DuplicatesRecord &group : groups)
        uuids.insert(uuids.end(), group.uuids.begin(), group.uuids.end());
    const auto assets = askForAssetsWithUUIDs(uuids);
    if (!assets)
        return passOn(assets);
    for (const DuplicatesRecord &group : groups) {
        const std::string likeness = group.isSame ? "same" : "similar";
        ++number;
        JSON described = JSON::array();
        for (const std::string &uuid : group.uuids) {
            const auto found = assets->find(uuid);
            if (found == assets->end())
                continue; // deleted since
            const ReleaseScope scope;
            const AssetRecord &record = found->second->record();
            if (listing.isJSON())
                described.push_back(describe(*found->second));
            else
                listing.addRow({std::to_string(number), likeness, record.uuid, createdText(record),
                                pixelsText(record, "-"), sizeText(record.byteSize), outsideName(record)});
        }
        if (listing.isJSON())
            listing.add({{"likeness", likeness}, {"assets", std::move(described)}});
    }
    return {};
}

/// Gives whether the groups are up to date.
Result<bool> printGroups(const Options &options) {
    using Align = Table::Align;
    Listing listing({{"GROUP", Align::right},
                     {"LIKENESS"},
                     {"UUID"},
                     {"CREATED"},
                     {"PIXELS", Align::right},
                     {"SIZE", Align::right},
                     {"NAME"}},
                    options.json);
    DuplicatesQuery query{.limit = groupsOfPage};
    if (!options.likeness.empty())
        query.isSame = options.likeness == "same";
    bool isComplete = false;
    std::size_t number = 0;
    const auto listed =
        forEachPage(query, &JXGatekeeperClient::duplicatesMatchingQuery, [&](const DuplicatesPage &page) {
            isComplete = page.isComplete;
            return addGroups(page.groups, number, listing);
        });
    if (!listed)
        return passOn(listed);
    listing.end("no duplicates");
    return isComplete;
}

Result<ExitCode> duplicates(const Options &options) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    const bool analyzes = options.update || options.reset;
    if (analyzes || !options.apart.empty() || !options.together.empty())
        if (const auto done = askDaemon(options); !done)
            return passOn(done);
    const auto isComplete = printGroups(options);
    if (!isComplete)
        return passOn(isComplete);
    if (*isComplete)
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

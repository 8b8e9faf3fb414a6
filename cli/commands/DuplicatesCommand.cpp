// wickerlane duplicates
#include <nlohmann/json.hpp>

#include <unordered_map>

#include "cli/AssetDescription.h"
#include "cli/BestDuplicate.h"
#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/LibraryState.h"
#include "cli/Queries.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
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
    bool keepBest = false, isDryRun = false, yes = false;
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
    Progress progress(localized("analyzing"));
    if (options.reset)
        if (const auto done = waitForEndOfWork(client::Request(protocol::resetDupesAnalysis), &progress);
            !done)
            return done;
    if (options.reset || options.update)
        if (const auto done =
                waitForEndOfWork(client::Request(protocol::analyzeInvalidMomentsAndDupesIfNeeded), &progress);
            !done)
            return done;
    if (const auto decided = decide(options.apart, false); !decided)
        return decided;
    return decide(options.together, true);
}

/// By their UUIDs.
using KnownAssets = std::unordered_map<std::string, Ref<ManagedAsset>>;

/// What --keep-best keeps of a group. Null when nothing of it is left.
const AssetRecord *bestOf(const DuplicatesRecord &group, const KnownAssets &assets) {
    const AssetRecord *best = nullptr;
    for (const std::string &uuid : group.uuids)
        if (const auto found = assets.find(uuid); found != assets.end())
            if (const AssetRecord &each = found->second->record();
                best == nullptr || isBetterDuplicate(each, *best))
                best = &each;
    return best;
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
        const AssetRecord *best = bestOf(group, *assets);
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
                listing.addRow({std::to_string(number), &record == best ? "best" : "", likeness, record.uuid,
                                createdText(record), pixelsText(record, "-"), sizeText(record.byteSize),
                                outsideName(record)});
        }
        if (listing.isJSON() && best != nullptr)
            listing.add({{"likeness", likeness}, {"best", best->uuid}, {"assets", std::move(described)}});
    }
    return {};
}

/// Gives whether the groups are up to date.
Result<bool> printGroups(const Options &options) {
    using Align = Table::Align;
    Listing listing({{"GROUP", Align::right},
                     {"BEST"},
                     {"LIKENESS", Align::left, Table::Kind::whole, 0},
                     {"UUID", Align::left, Table::Kind::uuid, 2},
                     {"CREATED"},
                     {"PIXELS", Align::right, Table::Kind::whole, 0},
                     {"SIZE", Align::right, Table::Kind::whole, 0},
                     {"NAME", Align::left, Table::Kind::text, 2}},
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
    listing.end(localized("no duplicates"));
    return isComplete;
}

/// All of the groups but the best asset of each.
Result<std::vector<std::string>> othersThanTheBest(bool isSame) {
    std::vector<std::string> others;
    const auto listed = forEachPage(
        DuplicatesQuery{.isSame = isSame, .limit = groupsOfPage},
        &JXGatekeeperClient::duplicatesMatchingQuery, [&](const DuplicatesPage &page) -> Result<> {
            std::vector<std::string> uuids;
            for (const DuplicatesRecord &group : page.groups)
                uuids.insert(uuids.end(), group.uuids.begin(), group.uuids.end());
            const auto assets = askForAssetsWithUUIDs(uuids);
            if (!assets)
                return passOn(assets);
            for (const DuplicatesRecord &group : page.groups) {
                const AssetRecord *best = bestOf(group, *assets);
                for (const std::string &uuid : group.uuids)
                    if (const auto found = assets->find(uuid);
                        found != assets->end() && &found->second->record() != best)
                        others.push_back(uuid);
            }
            return {};
        });
    if (!listed)
        return passOn(listed);
    return others;
}

Result<ExitCode> keepBest(const Options &options) {
    const auto others = othersThanTheBest(options.likeness != "similar");
    if (!others)
        return passOn(others);
    if (options.isDryRun)
        return printDryRun(*others, localizedCount(others->size(), "{} asset would be moved to the trash",
                                                   "{} assets would be moved to the trash"));

    if (!others->empty() && !options.yes)
        if (const auto confirmed = confirm(
                localizedCount(others->size(),
                               "This moves {} asset to the trash, and keeps the best of each group.",
                               "This moves {} assets to the trash, and keeps the best of each group."),
                localized("nothing was deleted; --yes deletes without asking"));
            !confirmed)
            return passOn(confirmed);
    const auto outcome = forEachSelected(*others, localized("deleting"), [](const ManagedAsset &asset) {
        return waitForSuccess(
            localized("{} was not deleted", asset.record().uuid), [&](const SuccessHandler &handler) {
                JXGatekeeperClient::sharedInstance()->deleteAssetWithURL(asset.assetURL(), handler);
            });
    });
    if (!outcome)
        return passOn(outcome);
    summarize(localizedCount(
        outcome->done,
        "{} asset moved to the trash; to have it back within 30 days: wickerlane trash restore",
        "{} assets moved to the trash; to have it back within 30 days: wickerlane trash restore"));
    return outcome->code;
}

Result<ExitCode> duplicates(const Options &options) {
    if (options.isDryRun && !options.keepBest)
        return fail(ProblemKind::invalid,
                    localized("--dry-run needs --keep-best: nothing else moves assets"));
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    const bool analyzes = options.update || options.reset;
    if (analyzes || !options.apart.empty() || !options.together.empty())
        if (const auto done = askDaemon(options); !done)
            return passOn(done);
    if (options.keepBest)
        return keepBest(options);
    const auto isComplete = printGroups(options);
    if (!isComplete)
        return passOn(isComplete);
    if (*isComplete)
        return ExitCode::success;
    if (analyzes)
        return fail(
            ProblemKind::failed,
            localized(
                "some photos are not analyzed: the analysis failed, or photos were added meanwhile; see "
                "the daemon's log"));
    advise(localized("some photos are not analyzed yet; to analyze them: wickerlane duplicates --update"));
    return ExitCode::success;
}

} // namespace

void setUpDuplicates(Command command) {
    command.footer("Likeness:\n"
                   "  same     the same picture: the same bytes, or encoded again, or resized\n"
                   "  similar  another picture of the same subject, taken within a minute\n\n"
                   "The best has the most pixels, else the largest file, else more that people said of it, "
                   "else was there first; the table marks it.\n\n"
                   "Examples:\n"
                   "  wickerlane duplicates --update --likeness same\n"
                   "  wickerlane duplicates --keep-best --dry-run\n"
                   "  wickerlane duplicates --not 7F3D0A52 81AA03C4");
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
    const auto json = command.addFlag("--json", options.json, "Write JSON");
    command
        .addFlag("--keep-best", options.keepBest,
                 "Move all but the best of each group to the trash: of those that are the same, or with "
                 "--likeness similar of the others")
        .excludes(json);
    command.addFlag("-n,--dry-run", options.isDryRun, "With --keep-best: only list what would be moved");
    addYes(command, options.yes);
}

} // namespace wickerlane::cli

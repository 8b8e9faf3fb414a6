// wickerlane moments
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>

#include "cli/AssetListing.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/LibraryState.h"
#include "cli/Queries.h"
#include "cli/SharedJSON.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/model/StoredObject.h"
#include "wickerlane/protocol/AnalysisRows.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool lists = false;
    bool update = false;
    bool rebuild = false;
    std::string analyze; ///< The object ID of a moment or a list of moments.
    bool json = false;
};

/// What moments and lists of moments have in common.
JSON describe(const std::string &objectID, double start, double end, std::uint64_t assets,
              const std::string &keyAsset) {
    JSON result = {{"objectID", objectID},
                   {"start", isoClockText(start)},
                   {"end", isoClockText(end)},
                   {"assetCount", assets}};
    if (!keyAsset.empty())
        result["keyAsset"] = keyAsset;
    return result;
}

std::string placeText(const MomentRecord &moment) {
    return moment.latitude ? fmt::format("{:.4f}, {:.4f}", *moment.latitude, *moment.longitude) : "-";
}

/// Asks the daemon for all moments: `use` gives a Result<>.
template <class Use>
Result<> forEachPageOfMoments(bool withAssets, const Use &use) {
    return forEachPage(MomentQuery{.limit = entriesOfPage, .withAssets = withAssets},
                       &JXGatekeeperClient::momentsMatchingQuery, use);
}

JSON describe(const MomentRecord &moment, const std::string &storeUUID) {
    JSON described = describe(objectURI(storeUUID, moment.primaryKey, momentEntity), moment.startDate,
                              moment.endDate, moment.assetCount, moment.keyAsset);
    if (moment.latitude)
        described["place"] = describePlace(*moment.latitude, *moment.longitude);
    described["list"] = objectURI(storeUUID, moment.list, momentListEntity);
    described["uuids"] = moment.uuids;
    return described;
}

Result<> printMoments(bool json) {
    using Align = Table::Align;
    Listing listing({{"ID", Align::right},
                     {"FROM"},
                     {"TO"},
                     {"PHOTOS", Align::right},
                     {"VIDEOS", Align::right},
                     {"PLACE", Align::left, Table::Kind::whole, 0}},
                    json);
    const auto listed = forEachPageOfMoments(json, [&](const MomentPage &page) -> Result<> {
        for (const MomentRecord &moment : page.moments)
            if (json)
                listing.add(describe(moment, page.storeUUID));
            else
                listing.addRow({std::to_string(moment.primaryKey), clockText(moment.startDate),
                                clockText(moment.endDate), std::to_string(moment.photoCount),
                                std::to_string(moment.videoCount), placeText(moment)});
        return {};
    });
    if (listed)
        listing.end(localized("no moments"));
    return listed;
}

Result<MomentLists> askForLists() {
    return orLastError(JXGatekeeperClient::sharedInstance()->momentLists());
}

Result<> printLists(bool json) {
    const auto all = askForLists();
    if (!all)
        return passOn(all);
    using Align = Table::Align;
    Listing listing({{"FROM"}, {"TO"}, {"MOMENTS", Align::right}, {"ASSETS", Align::right}}, json);
    for (const MomentListRecord &list : all->lists) {
        if (json) {
            JSON described = describe(objectURI(all->storeUUID, list.primaryKey, momentListEntity),
                                      list.startDate, list.endDate, list.assetCount, list.keyAsset);
            described["momentCount"] = list.momentCount;
            listing.add(described);
        } else {
            listing.addRow({clockText(list.startDate), clockText(list.endDate),
                            std::to_string(list.momentCount), std::to_string(list.assetCount)});
        }
    }
    listing.end(localized("no moments"));
    return {};
}

Result<> updateMoments(bool rebuild) {
    if (const auto answers = requireDaemon(); !answers)
        return answers;
    Progress progress(localized("analyzing"));
    if (!rebuild)
        return waitForEndOfWork(client::Request(protocol::analyzeInvalidMomentsAndDupesIfNeeded), &progress);
    client::Request whole(protocol::rebuildMoments);
    whole.set(protocol::keys::incremental, false);
    return waitForEndOfWork(whole, &progress).and_then([&] {
        return waitForEndOfWork(client::Request(protocol::analyzeAllMoments), &progress);
    });
}

/// A moment, or a list of moments.
struct FoundObject {
    Ref<StoredObject> object;
    bool isList = false;
};

Result<FoundObject> findObject(const std::string &objectID) {
    const auto lists = askForLists();
    if (!lists)
        return passOn(lists);
    FoundObject found;
    const auto take = [&](const auto &records, const std::string &storeUUID, std::string_view entity) {
        const std::int64_t key = primaryKeyInURI(objectID, storeUUID, entity);
        if (std::ranges::find(records, key, [](const auto &each) { return each.primaryKey; }) !=
            records.end())
            found = {StoredObject::create(storeUUID, entity, key), entity == momentListEntity};
    };
    take(lists->lists, lists->storeUUID, momentListEntity);
    const auto looked = forEachPageOfMoments(false, [&](const MomentPage &page) -> Result<> {
        take(page.moments, page.storeUUID, momentEntity);
        return {};
    });
    if (!looked)
        return passOn(looked);
    if (!found.object)
        return fail(ProblemKind::notFound,
                    localized("there is no moment or list of moments with that object ID"));
    return found;
}

Result<> analyze(const std::string &objectID) {
    const auto found = findObject(objectID);
    if (!found)
        return passOn(found);
    auto *client = JXGatekeeperClient::sharedInstance();
    if (found->isList)
        client->analyzeMomentList(found->object.get());
    else
        client->analyzeMoment(found->object.get());
    client->rebuildMomentLists(); // has nothing to do; its answer tells that the analysis before it is done
    return {};
}

struct ShowOptions {
    std::string moment;
    AssetListingOptions listing;
};

Result<ExitCode> showMoment(const ShowOptions &options) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    auto listing = AssetListing::create(options.listing);
    if (!listing)
        return passOn(listing);
    const auto key = askForMomentKey(options.moment);
    if (!key)
        return passOn(key);
    std::size_t count = 0;
    const auto listed = forEachAsset({.filter = {.moment = *key}}, 0, std::numeric_limits<std::size_t>::max(),
                                     [&](const ManagedAsset &asset) {
                                         listing->add(asset);
                                         ++count;
                                     });
    if (!listed)
        return passOn(listed);
    if (count == 0) // no moment is empty
        return fail(
            ProblemKind::notFound,
            localized("there is no moment {}. To list all moments: wickerlane moments", options.moment));
    listing->end("");
    return ExitCode::success;
}

Result<ExitCode> moments(const Options &options) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    const bool updates = options.update || options.rebuild;
    if (updates)
        if (const auto updated = updateMoments(options.rebuild); !updated)
            return passOn(updated);
    if (!options.analyze.empty())
        if (const auto analyzed = analyze(options.analyze); !analyzed)
            return passOn(analyzed);
    const auto print = options.lists ? printLists : printMoments;
    if (const auto printed = print(options.json); !printed)
        return passOn(printed);
    if (JXGatekeeperClient::sharedInstance()->hasCompletedMomentAnalysis())
        return ExitCode::success;
    if (updates)
        return fail(
            ProblemKind::failed,
            localized("some moments are not up to date: the work failed, or photos were added meanwhile; see "
                      "the daemon's log"));
    advise(localized("some moments are not up to date; to update them: wickerlane moments --update"));
    return ExitCode::success;
}

} // namespace

void setUpMoments(Command command) {
    command.footer("Examples:\n"
                   "  wickerlane moments --update\n"
                   "  wickerlane moments show 12\n"
                   "  wickerlane moments --lists\n"
                   "  wickerlane moments --json | jq -r '.[-1].uuids[]'");
    Options &options = command.runs(moments);
    command.addFlag("--lists", options.lists, "List groups of moments instead: trips, times at home");
    const auto update = command.addFlag("--update", options.update, "Update the moments first");
    const auto rebuild =
        command.addFlag("--rebuild", options.rebuild, "Rebuild all moments first").excludes(update);
    const auto analyzes = command.addOption("--analyze", options.analyze,
                                            "Analyze one moment or group again first, by its object ID");
    analyzes.typeName("ID").excludes(update).excludes(rebuild);
    command.addFlag("--json", options.json, "Write JSON");

    const Command show = command.addSubcommand("show", "List the assets of a moment");
    show.footer("Example:\n  wickerlane moments show 12");
    ShowOptions &shown = show.runs(showMoment);
    show.addOption("MOMENT", shown.moment, "Its ID in the list of moments, or its object ID").required();
    addListingOptions(show, shown.listing);
}

} // namespace wickerlane::cli

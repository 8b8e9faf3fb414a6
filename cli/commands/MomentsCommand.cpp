// wickerlane moments
#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/StoreLookup.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "wickerlane/client/JXGatekeeperClient.h"

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
                   {"assets", assets}};
    if (!keyAsset.empty())
        result["keyAsset"] = keyAsset;
    return result;
}

std::string placeText(const MomentRecord &moment) {
    return moment.latitude ? fmt::format("{:.4f}, {:.4f}", *moment.latitude, *moment.longitude) : "-";
}

Result<> printMoments(store::AnalysisReader &reader, const std::string &storeUUID, bool json) {
    const auto moments = reader.moments();
    if (!moments)
        return failToReadStore(moments);
    JSON all = JSON::array();
    using Align = Table::Align;
    Table table({{"FROM"}, {"TO"}, {"PHOTOS", Align::right}, {"VIDEOS", Align::right}, {"PLACE"}});
    for (const MomentRecord &moment : *moments) {
        table.add({clockText(moment.startDate), clockText(moment.endDate), std::to_string(moment.photoCount),
                   std::to_string(moment.videoCount), placeText(moment)});
        if (!json)
            continue;
        JSON described = describe(objectURI(storeUUID, moment.primaryKey, momentEntity), moment.startDate,
                                  moment.endDate, moment.assetCount, moment.keyAsset);
        if (moment.latitude)
            described["place"] = {{"latitude", *moment.latitude}, {"longitude", *moment.longitude}};
        described["list"] = objectURI(storeUUID, moment.list, momentListEntity);
        const auto uuids = reader.assetsOfMoment(moment.primaryKey);
        if (!uuids)
            return failToReadStore(uuids);
        described["uuids"] = *uuids;
        all.push_back(std::move(described));
    }
    printListing(all, table, "no moments", json);
    return {};
}

Result<> printLists(store::AnalysisReader &reader, const std::string &storeUUID, bool json) {
    const auto lists = reader.momentLists();
    if (!lists)
        return failToReadStore(lists);
    JSON all = JSON::array();
    using Align = Table::Align;
    Table table({{"FROM"}, {"TO"}, {"MOMENTS", Align::right}, {"ASSETS", Align::right}});
    for (const MomentListRecord &list : *lists) {
        table.add({clockText(list.startDate), clockText(list.endDate), std::to_string(list.momentCount),
                   std::to_string(list.assetCount)});
        JSON described = describe(objectURI(storeUUID, list.primaryKey, momentListEntity), list.startDate,
                                  list.endDate, list.assetCount, list.keyAsset);
        described["moments"] = list.momentCount;
        all.push_back(std::move(described));
    }
    printListing(all, table, "no moments", json);
    return {};
}

Result<> updateMoments(bool rebuild) {
    if (const auto answers = requireDaemon(); !answers)
        return answers;
    auto *client = JXGatekeeperClient::sharedInstance();
    if (rebuild) {
        client->rebuildMomentsIncremental(false);
        client->analyzeAllMoments();
    } else {
        client->analyzeInvalidMomentsAndDupesIfNeeded();
    }
    return {};
}

template <class Record>
const Record *recordWithKey(const std::vector<Record> &records, std::int64_t key) {
    const auto found = std::ranges::find(records, key, &Record::primaryKey);
    return found != records.end() ? &*found : nullptr;
}

Result<> analyze(const store::StoreReader &store, const std::string &objectID) {
    auto reader = openAnalyses(store);
    if (!reader)
        return passOn(reader);
    const auto moments = reader->moments();
    if (!moments)
        return failToReadStore(moments);
    const auto lists = reader->momentLists();
    if (!lists)
        return failToReadStore(lists);
    const auto keyIn = [&](std::string_view entity) {
        return primaryKeyInURI(objectID, store.storeUUID(), entity);
    };
    const auto *moment = recordWithKey(*moments, keyIn(momentEntity));
    const auto *list = recordWithKey(*lists, keyIn(momentListEntity));
    if (moment == nullptr && list == nullptr)
        return fail(ProblemKind::notFound, "there is no moment or list of moments with that object ID");
    if (const auto answers = requireDaemon(); !answers)
        return answers;
    auto *client = JXGatekeeperClient::sharedInstance();
    if (moment != nullptr)
        client->analyzeMoment(reader->objectOf(*moment).get());
    else
        client->analyzeMomentList(reader->objectOf(*list).get());
    client->rebuildMomentLists(); // has nothing to do; its answer tells that the analysis before it is done
    return {};
}

Result<ExitCode> moments(const Options &options) {
    const auto store = openStore();
    if (!store)
        return passOn(store);
    const bool updates = options.update || options.rebuild;
    if (updates)
        if (const auto updated = updateMoments(options.rebuild); !updated)
            return passOn(updated);
    if (!options.analyze.empty())
        if (const auto analyzed = analyze(**store, options.analyze); !analyzed)
            return passOn(analyzed);
    auto reader = openAnalyses(**store);
    if (!reader)
        return passOn(reader);
    const auto print = options.lists ? printLists : printMoments;
    if (const auto printed = print(*reader, (*store)->storeUUID(), options.json); !printed)
        return passOn(printed);
    if (reader->areMomentsComplete().value_or(false))
        return ExitCode::success;
    if (updates)
        return fail(ProblemKind::failed,
                    "some moments are not up to date: the work failed, or photos were added meanwhile; see "
                    "the daemon's log");
    note("some moments are not up to date; to update them: wickerlane moments --update");
    return ExitCode::success;
}

} // namespace

void setUpMoments(Command command) {
    command.footer("Examples:\n"
                   "  wickerlane moments --update\n"
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
}

} // namespace wickerlane::cli

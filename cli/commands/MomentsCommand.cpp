// wickerlane moments
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/store/AnalysisReader.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool lists = false;
    bool update = false;
    bool rebuild = false;
    bool json = false;
};

/// What a moment or a list tells machines in any case.
JSON describe(const std::string &objectID, double start, double end, std::uint64_t assets,
              const std::string &keyAsset) {
    JSON result = {
        {"objectID", objectID}, {"start", isoDateText(start)}, {"end", isoDateText(end)}, {"assets", assets}};
    if (!keyAsset.empty())
        result["keyAsset"] = keyAsset;
    return result;
}

std::string placeText(const store::MomentRecord &moment) {
    return moment.latitude ? fmt::format("{:.4f}, {:.4f}", *moment.latitude, *moment.longitude) : "-";
}

ExitCode fail(const store::AnalysisReader &reader) {
    return cli::fail(ExitCode::failure, "the library's store could not be read: " + reader.problem());
}

ExitCode printMoments(store::AnalysisReader &reader, const std::string &storeUUID, bool json) {
    const auto moments = reader.moments();
    if (!moments)
        return fail(reader);
    JSON all = JSON::array();
    using Align = Table::Align;
    Table table({{"FROM"}, {"TO"}, {"PHOTOS", Align::right}, {"VIDEOS", Align::right}, {"PLACE"}});
    for (const store::MomentRecord &moment : *moments) {
        table.add({dateText(moment.startDate), dateText(moment.endDate), std::to_string(moment.photoCount),
                   std::to_string(moment.videoCount), placeText(moment)});
        if (!json)
            continue;
        JSON described = describe(store::objectURI(storeUUID, moment.primaryKey, store::momentEntity),
                                  moment.startDate, moment.endDate, moment.assetCount, moment.keyAsset);
        if (moment.latitude)
            described["place"] = {{"latitude", *moment.latitude}, {"longitude", *moment.longitude}};
        described["list"] = store::objectURI(storeUUID, moment.list, store::momentListEntity);
        const auto uuids = reader.assetsOfMoment(moment.primaryKey);
        if (!uuids)
            return fail(reader);
        described["uuids"] = *uuids;
        all.push_back(std::move(described));
    }
    if (json)
        printJSON(all);
    else if (!moments->empty())
        table.print();
    else
        note("no moments");
    return ExitCode::success;
}

ExitCode printLists(store::AnalysisReader &reader, const std::string &storeUUID, bool json) {
    const auto lists = reader.momentLists();
    if (!lists)
        return fail(reader);
    JSON all = JSON::array();
    using Align = Table::Align;
    Table table({{"FROM"}, {"TO"}, {"MOMENTS", Align::right}, {"ASSETS", Align::right}});
    for (const store::MomentListRecord &list : *lists) {
        table.add({dateText(list.startDate), dateText(list.endDate), std::to_string(list.momentCount),
                   std::to_string(list.assetCount)});
        JSON described = describe(store::objectURI(storeUUID, list.primaryKey, store::momentListEntity),
                                  list.startDate, list.endDate, list.assetCount, list.keyAsset);
        described["moments"] = list.momentCount;
        all.push_back(std::move(described));
    }
    if (json)
        printJSON(all);
    else if (!lists->empty())
        table.print();
    else
        note("no moments");
    return ExitCode::success;
}

ExitCode moments(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;
    const bool works = options.update || options.rebuild;
    if (works) {
        if (!daemonAnswers())
            return failUnreachable();
        auto *client = JXGatekeeperClient::sharedInstance();
        if (options.rebuild) {
            client->rebuildMomentsIncremental(false);
            client->analyzeAllMoments();
        } else {
            client->analyzeInvalidMomentsAndDupesIfNeeded();
        }
    }
    std::string problem;
    auto reader = store::AnalysisReader::open(store->paths(), problem);
    if (!reader)
        return cli::fail(ExitCode::failure, problem);
    const ExitCode printed = options.lists ? printLists(*reader, store->storeUUID(), options.json)
                                           : printMoments(*reader, store->storeUUID(), options.json);
    if (printed != ExitCode::success || reader->areMomentsComplete().value_or(false))
        return printed;
    if (works)
        return cli::fail(ExitCode::failure,
                         "the moments could not be completed, or photos have come meanwhile; "
                         "the daemon's log says more");
    note("some photos are in no moment yet, or have not been analyzed: wickerlane moments --update");
    return printed;
}

} // namespace

void addMoments(Command app, Action &chosen) {
    const auto command = app.addSubcommand("moments", "List moments: what was taken at one time and place");
    command.footer("Examples:\n"
                   "  wickerlane moments --update\n"
                   "  wickerlane moments --lists\n"
                   "  wickerlane moments --json | jq -r '.[-1].uuids[]'");
    auto options = std::make_shared<Options>();
    command.addFlag("--lists", options->lists, "List what moments are gathered in: journeys, times at home");
    const auto update = command.addFlag("--update", options->update, "Bring the moments up to date first");
    command.addFlag("--rebuild", options->rebuild, "Make all moments anew first").excludes(update);
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return moments(*options); }; });
}

} // namespace wickerlane::cli

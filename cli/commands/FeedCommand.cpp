// wickerlane feed
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
    bool update = false;
    bool json = false;
};

Result<std::string> albumName(store::StoreReader &store, const std::string &albumUUID) {
    const ReleaseScope scope;
    return store.albumWithUUID(albumUUID).map(
        [&](const auto &album) { return album ? album->record().name : albumUUID; });
}

Result<ExitCode> feed(const Options &options) {
    const auto store = openStore();
    if (!store)
        return passOn(store);
    if (options.update) {
        JXGatekeeperClient::sharedInstance()->rebuildCloudFeed();
        if (const auto received = waitUntilReceived(); !received)
            return passOn(received);
    }
    auto reader = openAnalyses(**store);
    if (!reader)
        return passOn(reader);
    const auto entries = reader->cloudFeed();
    if (!entries)
        return failToReadStore(entries);
    JSON all = JSON::array();
    Table table({{"FROM"}, {"TO"}, {"ASSETS", Table::Align::right}, {"ALBUM"}});
    for (const FeedEntryRecord &entry : *entries) {
        const auto name = albumName(**store, entry.albumUUID);
        if (!name)
            return failToReadStore(name);
        table.add(
            {dateText(entry.startDate), dateText(entry.endDate), std::to_string(entry.uuids.size()), *name});
        all.push_back({{"album", {{"uuid", entry.albumUUID}, {"name", *name}}},
                       {"start", isoDateText(entry.startDate)},
                       {"end", isoDateText(entry.endDate)},
                       {"uuids", entry.uuids}});
    }
    printListing(all, table, "the feed is empty: nothing was added to shared albums", options.json);
    return ExitCode::success;
}

} // namespace

void setUpFeed(Command command) {
    command.footer("Example:\n  wickerlane feed --update --json");
    Options &options = command.runs(feed);
    command.addFlag("--update", options.update, "Rebuild the feed first; it is kept up to date without");
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli

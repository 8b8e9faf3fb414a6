// wickerlane feed
#include <nlohmann/json.hpp>

#include <unordered_map>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/LibraryState.h"
#include "cli/Queries.h"
#include "cli/SharedJSON.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool update = false;
    bool json = false;
};

Result<ExitCode> feed(const Options &options) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    if (options.update) {
        JXGatekeeperClient::sharedInstance()->rebuildCloudFeed();
        if (const auto received = waitUntilReceived(); !received)
            return passOn(received);
    }
    const auto entries = orLastError(JXGatekeeperClient::sharedInstance()->cloudFeed());
    if (!entries)
        return passOn(entries);
    const auto albums = askForAlbums();
    if (!albums)
        return passOn(albums);
    std::unordered_map<std::string, std::string> names;
    for (const Ref<ManagedAlbum> &each : *albums)
        names.emplace(each->record().uuid, each->record().name);
    JSON all = JSON::array();
    Table table({{"FROM"}, {"TO"}, {"ASSETS", Table::Align::right}, {"ALBUM"}});
    for (const FeedEntryRecord &entry : *entries) {
        const auto found = names.find(entry.albumUUID);
        const std::string &name = found != names.end() ? found->second : entry.albumUUID;
        table.add(
            {dateText(entry.startDate), dateText(entry.endDate), std::to_string(entry.uuids.size()), name});
        all.push_back({{"album", describeAlbum(entry.albumUUID, name)},
                       {"firstAdded", isoDateText(entry.startDate)},
                       {"lastAdded", isoDateText(entry.endDate)},
                       {"uuids", entry.uuids}});
    }
    printListing(all, table, localized("the feed is empty: nothing was added to shared albums"),
                 options.json);
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

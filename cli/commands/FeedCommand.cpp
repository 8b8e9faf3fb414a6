// wickerlane feed
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/store/AnalysisReader.h"

namespace wickerlane::cli {
namespace {

std::string nameOf(store::ObjectStore &store, const std::string &albumUUID) {
    ReleaseScope scope;
    const store::ManagedAlbum *album = store.albumWithUUID(albumUUID);
    return album != nullptr ? album->record().name : albumUUID;
}

ExitCode feed(bool update, bool json) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;
    if (update) {
        JXGatekeeperClient::sharedInstance()->rebuildCloudFeed();
        if (!daemonAnswers())
            return failUnreachable();
    }
    std::string problem;
    auto reader = store::AnalysisReader::open(store->paths(), problem);
    const auto entries = reader ? reader->cloudFeed() : std::nullopt;
    if (!entries)
        return fail(ExitCode::failure,
                    "the library's store could not be read: " + (reader ? reader->problem() : problem));
    JSON all = JSON::array();
    Table table({{"FROM"}, {"TO"}, {"ASSETS", Table::Align::right}, {"ALBUM"}});
    for (const store::FeedEntryRecord &entry : *entries) {
        const std::string name = nameOf(*store, entry.albumUUID);
        table.add(
            {dateText(entry.startDate), dateText(entry.endDate), std::to_string(entry.uuids.size()), name});
        all.push_back({{"album", {{"uuid", entry.albumUUID}, {"name", name}}},
                       {"start", isoDateText(entry.startDate)},
                       {"end", isoDateText(entry.endDate)},
                       {"uuids", entry.uuids}});
    }
    if (json)
        printJSON(all);
    else if (!entries->empty())
        table.print();
    else
        note("the feed is empty; it is made of what is in shared albums: wickerlane feed --update");
    return ExitCode::success;
}

} // namespace

void addFeed(Command app, Action &chosen) {
    const auto command = app.addSubcommand("feed", "List what came into the shared albums, the newest first");
    command.footer("Example:\n  wickerlane feed --update --json");
    struct Options {
        bool update = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.addFlag("--update", options->update, "Make the feed anew first");
    command.addFlag("--json", options->json, "Write JSON");
    command.callback(
        [options, &chosen] { chosen = [options] { return feed(options->update, options->json); }; });
}

} // namespace wickerlane::cli

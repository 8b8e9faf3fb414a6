// wickerlane changes
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
    std::int64_t since = 0;
    bool clear = false;
    bool json = false;
};

const char *nameOf(store::AssetChange::What what) {
    switch (what) {
    case store::AssetChange::What::added:
        return "added";
    case store::AssetChange::What::changed:
        return "changed";
    case store::AssetChange::What::removed:
        return "removed";
    }
    return "";
}

Result<ExitCode> changes(const Options &options) {
    const auto store = openStore();
    if (!store)
        return passOn(store);
    const auto all = (*store)->changes(options.since);
    if (!all)
        return failToReadStore(all);
    JSON described = JSON::array();
    Table table({{"NUMBER", Table::Align::right}, {"DATE"}, {"WHAT"}, {"UUID"}});
    for (const store::AssetChange &each : *all) {
        described.push_back({{"number", each.number},
                             {"date", isoDateText(each.date)},
                             {"what", nameOf(each.what)},
                             {"uuid", each.uuid}});
        table.add({std::to_string(each.number), dateText(each.date), nameOf(each.what), each.uuid});
    }
    printListing(described, table, "nothing has changed", options.json);
    if (options.clear) {
        JXGatekeeperClient::sharedInstance()->clearChangeStore();
        if (const auto received = waitUntilReceived(); !received)
            return passOn(received);
    }
    return ExitCode::success;
}

} // namespace

void setUpChanges(Command command) {
    command.footer("Examples:\n"
                   "  wickerlane changes --since 120\n"
                   "  wickerlane changes --clear --json");
    Options &options = command.runs(changes);
    command.addOption("--since", options.since, "Only changes with a higher number")
        .typeName("NUMBER")
        .notNegative();
    command.addFlag("--clear", options.clear, "Then delete the record of all changes");
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli

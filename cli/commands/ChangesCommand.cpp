// wickerlane changes
#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"
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

ExitCode changes(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;
    const auto all = store->changes(options.since);
    if (!all)
        return fail(ExitCode::failure, "the library's store can't be read");
    JSON described = JSON::array();
    Table table({{"NUMBER", Table::Align::right}, {"DATE"}, {"WHAT"}, {"UUID"}});
    for (const store::AssetChange &each : *all) {
        described.push_back({{"number", each.number},
                             {"date", isoDateText(each.date)},
                             {"what", nameOf(each.what)},
                             {"uuid", each.uuid}});
        table.add({std::to_string(each.number), dateText(each.date), nameOf(each.what), each.uuid});
    }
    if (options.json)
        printJSON(described);
    else if (described.empty())
        note("nothing has changed");
    else
        table.print();
    if (options.clear) {
        JXGatekeeperClient::sharedInstance()->clearChangeStore();
        if (!daemonAnswers()) // which tells that the daemon got the request, which has no answer
            return failUnreachable();
    }
    return ExitCode::success;
}

} // namespace

void addChanges(Command app, Action &chosen) {
    const auto command = app.addSubcommand("changes", "List the latest changes of assets");
    command.footer("Examples:\n"
                   "  wickerlane changes --since 120\n"
                   "  wickerlane changes --clear --json");
    auto options = std::make_shared<Options>();
    command.addOption("--since", options->since, "Only those with higher numbers")
        .typeName("NUMBER")
        .notNegative();
    command.addFlag("--clear", options->clear, "Forget all changes afterwards");
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return changes(*options); }; });
}

} // namespace wickerlane::cli

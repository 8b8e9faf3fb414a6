// wickerlane changes
#include <nlohmann/json.hpp>

#include "cli/DaemonRequests.h"
#include "cli/FollowedChanges.h"
#include "cli/Formatting.h"
#include "cli/LibraryState.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::int64_t since = -1; ///< Negative: not given.
    bool follow = false;
    bool clear = false;
    bool json = false;
};

Result<ExitCode> changes(const Options &options) {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    if (options.follow)
        return followChanges(options.since, options.json);
    JSON described = JSON::array();
    Table table({{"NUMBER", Table::Align::right}, {"DATE"}, {"WHAT"}, {"UUID"}});
    std::string token = options.since > 0 ? std::to_string(options.since) : std::string();
    for (bool isLast = false; !isLast;) {
        const auto page = askForChanges(token);
        if (!page)
            return passOn(page);
        if (page->isTooOld)
            return fail(
                ProblemKind::notFound,
                options.since < 0
                    ? localized("the library no longer knows all changes. Begin with all assets: "
                                "wickerlane list; the changes that it knows: wickerlane changes")
                    : localized("the library no longer knows all changes since number {}. Begin with all "
                                "assets: wickerlane list; the changes that it knows: wickerlane changes",
                                options.since));
        for (const AssetChange &each : page->changes) {
            described.push_back(describe(each));
            table.add({std::to_string(each.number), dateText(each.date), nameOf(each.what), each.uuid});
        }
        token = page->token;
        isLast = page->isLast;
    }
    printListing(described, table, localized("nothing has changed"), options.json);
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
                   "  wickerlane changes --follow --json\n"
                   "  wickerlane changes --clear --json");
    Options &options = command.runs(changes);
    command
        .addOption("--since", options.since,
                   "Only changes with a higher number; it is good until an older store is put back")
        .typeName("NUMBER")
        .notNegative();
    const Option follow =
        command.addFlag("--follow", options.follow,
                        "Write each change as it comes, from now on or from --since, until Ctrl-C");
    command.addFlag("--clear", options.clear, "Then delete the record of all changes").excludes(follow);
    command.addFlag("--json", options.json, "Write JSON; with --follow one object a line");
}

} // namespace wickerlane::cli

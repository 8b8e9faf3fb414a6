// wickerlane rebuild-thumbnails
#include "cli/DaemonRequests.h"
#include "cli/Output.h"
#include "cli/StoreLookup.h"
#include "cli/Subcommands.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

// The answer says only that the work has ended. The daemon's log says what could not be made.
Result<ExitCode> rebuildThumbnails() {
    if (const auto store = openStore(); !store)
        return passOn(store);
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    note("this takes a while; thumbnails that were made are kept if you interrupt it");
    JXGatekeeperClient::sharedInstance()->rebuildAllThumbnails();
    return waitUntilReceived().map([] { return ExitCode::success; });
}

} // namespace

void setUpRebuildThumbnails(Command command) {
    command.description("Make the thumbnails of all assets again");
    command.footer("To make only the missing ones: wickerlane check --repair\n\n"
                   "Example:\n  wickerlane rebuild-thumbnails");
    command.runs(rebuildThumbnails);
}

} // namespace wickerlane::cli

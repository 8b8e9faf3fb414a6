// wickerlane rebuild-thumbnails
#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

// The answer tells nothing but that the work has ended; what could not be made, the daemon's log says.
ExitCode rebuildThumbnails() {
    if (!openStore())
        return ExitCode::notFound;
    if (!daemonAnswers())
        return failUnreachable();
    note("this takes a while; what was made stays when it is interrupted");
    JXGatekeeperClient::sharedInstance()->rebuildAllThumbnails();
    return daemonAnswers() ? ExitCode::success : failUnreachable();
}

} // namespace

void addRebuildThumbnails(Command app, Action &chosen) {
    const auto command = app.addSubcommand("rebuild-thumbnails", "Make the thumbnails of all assets anew");
    command.footer("To make only those that are missing: wickerlane check --repair\n\n"
                   "Example:\n  wickerlane rebuild-thumbnails");
    command.callback([&chosen] { chosen = rebuildThumbnails; });
}

} // namespace wickerlane::cli

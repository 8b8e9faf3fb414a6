// wickerlane rebuild-thumbnails
#include "cli/DaemonRequests.h"
#include "cli/LibraryState.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/protocol/AnalysisRows.h"

namespace wickerlane::cli {
namespace {

Result<ExitCode> rebuildThumbnails() {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    Progress progress(localized("making thumbnails"));
    return waitForWork(client::Request(protocol::rebuildAllThumbnails), &progress).map([] {
        return ExitCode::success;
    });
}

} // namespace

void setUpRebuildThumbnails(Command command) {
    command.footer("To make only the missing ones: wickerlane check --repair\n\n"
                   "Example:\n  wickerlane rebuild-thumbnails");
    command.runs(rebuildThumbnails);
}

} // namespace wickerlane::cli

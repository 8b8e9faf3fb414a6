// wickerlane rebuild-thumbnails
#include <algorithm>
#include <limits>

#include "cli/DaemonRequests.h"
#include "cli/LibraryState.h"
#include "cli/Output.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/protocol/AnalysisRows.h"

namespace wickerlane::cli {
namespace {

Result<> makeThumbnails() {
    Progress progress(localized("making thumbnails"));
    return waitForWork(client::Request(protocol::rebuildAllThumbnails), &progress);
}

Result<ExitCode> rebuildThumbnails() {
    if (const auto there = requireLibrary(); !there)
        return passOn(there);
    if (const auto made = makeThumbnails(); !made)
        return passOn(made);
    // All have them that can be decoded, at least in part.
    const auto assets = orLastError(JXGatekeeperClient::sharedInstance()->countOfAssets({}));
    if (!assets)
        return passOn(assets);
    std::uint64_t undecodable = 0;
    const auto counted =
        forEachAsset({.filter = {.hasProblem = true}}, 0, std::numeric_limits<std::size_t>::max(),
                     [&](const ManagedAsset &asset) { undecodable += asset.record().width == 0 ? 1 : 0; });
    if (!counted)
        return passOn(counted);
    std::vector summary{localizedCount(*assets - std::min(*assets, undecodable),
                                       "thumbnails of {} asset made", "thumbnails of {} assets made")};
    if (undecodable > 0)
        summary.push_back(localizedCount(undecodable, "{} can't be decoded", "{} can't be decoded"));
    summarize(joined(summary));
    return ExitCode::success;
}

} // namespace

void setUpRebuildThumbnails(Command command) {
    command.footer("To make only the missing ones: wickerlane check --repair\n\n"
                   "Example:\n  wickerlane rebuild-thumbnails");
    command.runs(rebuildThumbnails);
}

} // namespace wickerlane::cli

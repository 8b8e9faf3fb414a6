// wickerlane revert
#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Output.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/protocol/AssetRows.h"

namespace wickerlane::cli {
namespace {

struct Options {
    Selection selection;
};

Result<> revert(const ManagedAsset &asset) {
    client::Request request(protocol::revertAsset);
    request.set(protocol::keys::assetURL, asset.assetURL());
    return waitForWork(request).map_error([&](Problem problem) {
        problem.text = localized("{} was not reverted: {}", asset.record().uuid, problem.text);
        return problem;
    });
}

Result<ExitCode> revertAssets(const Options &options) {
    const auto selected = select(options.selection);
    if (!selected)
        return passOn(selected);
    if (selected->code != ExitCode::success)
        return selected->code; // before anything is changed
    if (options.selection.isDryRun)
        return printDryRun(selected->uuids,
                           localizedCount(selected->uuids.size(), "{} asset would be reverted",
                                          "{} assets would be reverted"));
    // What is named one by one is wanted.
    if (options.selection.isOpen() && !selected->uuids.empty() && !options.selection.yes)
        if (const auto confirmed =
                confirm(localizedCount(selected->uuids.size(), "This deletes the edits of {} asset.",
                                       "This deletes the edits of {} assets."),
                        localized("nothing was reverted; --yes reverts without asking"));
            !confirmed)
            return passOn(confirmed);
    const auto outcome = forEachSelected(selected->uuids, localized("reverting"), revert);
    if (!outcome)
        return passOn(outcome);
    summarize(localizedCount(outcome->done, "{} asset reverted", "{} assets reverted"));
    return outcome->code;
}

} // namespace

void setUpRevert(Command command) {
    command.footer("It asks before it reverts what --where or standard input says.\n\n"
                   "Examples:\n"
                   "  wickerlane revert 7F3D0A52\n"
                   "  wickerlane revert --where 'edited album=Dunes'");
    Options &options = command.runs(revertAssets);
    addSelection(command, options.selection);
    addDryRun(command, options.selection);
    addYes(command, options.selection.yes);
}

} // namespace wickerlane::cli

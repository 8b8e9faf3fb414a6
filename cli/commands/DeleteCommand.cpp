// wickerlane delete
#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Output.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    Selection selection;
    bool now = false;
};

/// Asks the person at the terminal.
Result<> confirm(std::size_t count, bool now) {
    return cli::confirm(now ? localizedCount(count, "This deletes {} asset permanently.",
                                             "This deletes {} assets permanently.")
                            : localizedCount(count, "This moves {} asset to the trash.",
                                             "This moves {} assets to the trash."),
                        localized("nothing was deleted; --yes deletes without asking"));
}

/// What is to be deleted, in the library or its trash. `code` is that of the last name that no asset has.
struct Found {
    std::vector<std::string> uuids;
    Assets trashed;
    ExitCode code = ExitCode::success;
};

Result<Found> findWhatToDelete(const Options &options) {
    auto present = find(options.selection);
    if (!present)
        return passOn(present);
    Found found;
    found.uuids = std::move(present->uuids);
    std::vector<std::string> absent = std::move(present->absent);
    if (options.now && !absent.empty()) { // what is deleted at once may be in the trash already
        auto trashed = findTrashed(absent);
        if (!trashed)
            return passOn(trashed);
        found.trashed = std::move(trashed->assets);
        absent = std::move(trashed->absent);
    }
    for (const std::string &name : absent)
        found.code = report(failToFindAsset(name).value());
    return found;
}

Result<> deleteAsset(const ManagedAsset &asset, bool now) {
    return waitForSuccess(localized("{} was not deleted", asset.record().uuid),
                          [&](const SuccessHandler &handler) {
                              auto *client = JXGatekeeperClient::sharedInstance();
                              if (now)
                                  client->removeAssetWithURL(asset.assetURL(), handler);
                              else
                                  client->deleteAssetWithURL(asset.assetURL(), handler);
                          });
}

Result<ExitCode> deleteAssets(const Options &options) {
    const auto found = findWhatToDelete(options);
    if (!found)
        return passOn(found);
    if (found->code != ExitCode::success)
        return found->code; // before anything is deleted
    const std::size_t count = found->uuids.size() + found->trashed.size();
    if (options.selection.isDryRun)
        return printDryRun(
            found->uuids,
            options.now ? localizedCount(count, "{} asset would be deleted", "{} assets would be deleted")
                        : localizedCount(count, "{} asset would be moved to the trash",
                                         "{} assets would be moved to the trash"),
            found->trashed);
    if (count > 0 && !options.selection.yes)
        if (const auto confirmed = confirm(count, options.now); !confirmed)
            return passOn(confirmed);
    auto outcome = forEachSelected(found->uuids, localized("deleting"), [&](const ManagedAsset &asset) {
        return deleteAsset(asset, options.now);
    });
    if (!outcome)
        return passOn(outcome);
    for (const auto &asset : found->trashed)
        if (const auto deleted = deleteAsset(*asset, true))
            ++outcome->done;
        else
            outcome->code = report(deleted.error());
    summarize(
        options.now
            ? localizedCount(outcome->done, "{} asset deleted", "{} assets deleted")
            : localizedCount(
                  outcome->done,
                  "{} asset moved to the trash; to have it back within 30 days: wickerlane trash restore",
                  "{} assets moved to the trash; to have it back within 30 days: wickerlane trash restore"));
    return outcome->code;
}

} // namespace

void setUpDelete(Command command) {
    command.footer(
        "To have an asset again: wickerlane trash restore. What --now deletes can't be had again.\n\n"
        "Examples:\n"
        "  wickerlane delete 7F3D0A52\n"
        "  wickerlane delete --dry-run --where 'kind=video max-size=100kB'");
    Options &options = command.runs(deleteAssets);
    addSelection(command, options.selection);
    command.addFlag("--now", options.now,
                    "Delete them at once, with their originals, thumbnails and edits, also from the trash");
    addDryRun(command, options.selection);
    addYes(command, options.selection.yes);
}

} // namespace wickerlane::cli

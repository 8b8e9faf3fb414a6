// wickerlane delete
#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::vector<std::string> assets;
    bool now = false;
    bool yes = false;
};

/// Asks the person at the terminal. False when there is none.
bool isWanted(std::size_t count, bool now) {
    const std::string assets = countText(count, "asset", "assets");
    return isConfirmed(now ? fmt::format("This deletes {} permanently.", assets)
                           : fmt::format("This moves {} to the trash.", assets));
}

/// Null where there is none. What is deleted at once may be in the trash already.
Result<Assets> findToDelete(std::span<const std::string> names, bool now) {
    auto assets = askForAssets(names);
    if (!assets || !now || std::ranges::find(*assets, nullptr) == assets->end())
        return assets;
    const auto trashed = askForTrashed(names);
    if (!trashed)
        return passOn(trashed);
    for (std::size_t i = 0; i < names.size(); ++i)
        if (!(*assets)[i])
            (*assets)[i] = (*trashed)[i];
    return assets;
}

Result<> deleteAsset(const ManagedAsset &asset, bool now) {
    return waitForSuccess(asset.record().uuid + " was not deleted", [&](const SuccessHandler &handler) {
        auto *client = JXGatekeeperClient::sharedInstance();
        if (now)
            client->removeAssetWithURL(asset.assetURL(), handler);
        else
            client->deleteAssetWithURL(asset.assetURL(), handler);
    });
}

Result<ExitCode> deleteAssets(const Options &options) {
    const auto assets = findToDelete(options.assets, options.now);
    if (!assets)
        return passOn(assets);
    ExitCode code = ExitCode::success;
    for (std::size_t i = 0; i < assets->size(); ++i)
        if (!(*assets)[i])
            code = report(failToFindAsset(options.assets[i]).value());
    if (code != ExitCode::success)
        return code; // before anything is deleted
    if (!options.yes && !isWanted(assets->size(), options.now))
        return fail(ProblemKind::failed, "nothing was deleted; --yes deletes without asking");
    std::size_t deleted = 0;
    for (const auto &asset : *assets)
        if (const auto result = deleteAsset(*asset, options.now))
            ++deleted;
        else
            code = report(result.error());
    print(countText(deleted, "asset", "assets") +
          (options.now ? " deleted"
                       : " moved to the trash; to have it back within 30 days: wickerlane trash restore"));
    return code;
}

} // namespace

void setUpDelete(Command command) {
    command.footer(
        "To have an asset again: wickerlane trash restore. What --now deletes can't be had again.\n\n"
        "Example:\n  wickerlane delete 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10");
    Options &options = command.runs(deleteAssets);
    command.addOption("ASSET", options.assets, "UUIDs, URLs or object IDs of assets").required();
    command.addFlag("--now", options.now,
                    "Delete them at once, with their originals, thumbnails and edits, also from the trash");
    command.addFlag("-y,--yes", options.yes, "Do not ask");
}

} // namespace wickerlane::cli

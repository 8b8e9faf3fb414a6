// wickerlane trash
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "cli/AssetDescription.h"
#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/StoreLookup.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct ListOptions {
    bool json = false;
};

struct RestoreOptions {
    std::vector<std::string> assets;
    bool all = false;
};

struct EmptyOptions {
    bool yes = false;
};

Result<ExitCode> listTrash(const ListOptions &options) {
    const auto trash = readTrash();
    if (!trash)
        return passOn(trash);
    JSON all = JSON::array();
    using Align = Table::Align;
    Table table({{"UUID"}, {"KIND"}, {"DELETED"}, {"KEPT UNTIL"}, {"SIZE", Align::right}, {"NAME"}});
    for (const auto &[asset, dateTrashed] : *trash) {
        const AssetRecord &record = asset->record();
        const double end = dateTrashed + trashLifetime;
        if (options.json) {
            JSON described = describe(*asset);
            described["trashed"] = isoDateText(dateTrashed);
            described["keptUntil"] = isoDateText(end);
            all.push_back(std::move(described));
        } else {
            table.add({record.uuid, kindText(record), dateText(dateTrashed), dateText(end),
                       sizeText(record.byteSize), outsideName(record)});
        }
    }
    printListing(all, table, "the trash is empty", options.json);
    return ExitCode::success;
}

Result<> restoreAsset(const ManagedAsset &asset) {
    return waitForSuccess("see the daemon's log",
                          [&](const SuccessHandler &handler) {
                              JXGatekeeperClient::sharedInstance()->restoreTrashedAssetWithURL(
                                  asset.assetURL(), handler);
                          })
        .map_error([&](Problem problem) {
            problem.text = fmt::format("{} was not restored: {}", asset.record().uuid, problem.text);
            return problem;
        });
}

Result<ExitCode> restoreTrashed(const RestoreOptions &options) {
    if (options.all != options.assets.empty())
        return fail(ProblemKind::invalid, "name the assets to restore, or use --all for all in the trash");
    const auto trash = readTrash();
    if (!trash)
        return passOn(trash);
    ExitCode code = ExitCode::success;
    std::vector<TrashedAsset> wanted = options.all ? *trash : std::vector<TrashedAsset>();
    for (const std::string &name : options.assets)
        if (auto asset = findTrashed(*trash, name))
            wanted.push_back(*std::move(asset));
        else
            code = report(asset.error());
    if (code != ExitCode::success)
        return code; // before anything is restored
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    std::size_t restored = 0;
    for (const TrashedAsset &each : wanted)
        if (const auto result = restoreAsset(*each.asset))
            ++restored;
        else
            code = report(result.error());
    print(countText(restored, "asset", "assets") + " restored");
    return code;
}

Result<ExitCode> emptyTrash(const EmptyOptions &options) {
    const auto trash = readTrash();
    if (!trash)
        return passOn(trash);
    const std::string assets = countText(trash->size(), "asset", "assets");
    if (!trash->empty() && !options.yes && !isConfirmed(fmt::format("This deletes {} permanently.", assets)))
        return fail(ProblemKind::failed, "nothing was deleted; --yes deletes without asking");
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    const auto emptied = waitForSuccess("see the daemon's log", [](const SuccessHandler &handler) {
        JXGatekeeperClient::sharedInstance()->emptyTrashWithHandler(handler);
    });
    if (!emptied)
        return fail(ProblemKind::failed, "the trash was not emptied: " + emptied.error().text);
    print(assets + " deleted");
    return ExitCode::success;
}

} // namespace

void setUpTrash(Command command) {
    command.requireSubcommand();

    const Command list = command.addSubcommand("list", "List what is in the trash, the latest first");
    ListOptions &listing = list.runs(listTrash);
    list.addFlag("--json", listing.json, "Write JSON");

    const Command restore =
        command.addSubcommand("restore", "Take assets out of the trash, with their albums and edits");
    RestoreOptions &restoring = restore.runs(restoreTrashed);
    restore.addOption("ASSET", restoring.assets, "UUIDs, URLs or object IDs of assets");
    restore.addFlag("--all", restoring.all, "Restore all that is in the trash");

    const Command empty =
        command.addSubcommand("empty", "Delete all that is in the trash; this can't be undone");
    EmptyOptions &emptying = empty.runs(emptyTrash);
    empty.addFlag("-y,--yes", emptying.yes, "Do not ask");
}

} // namespace wickerlane::cli

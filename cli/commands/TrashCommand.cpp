// wickerlane trash
#include <nlohmann/json.hpp>

#include <algorithm>

#include "cli/AssetDescription.h"
#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/LibraryState.h"
#include "cli/Queries.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
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

/// Calls `use` with all that is in the trash, the latest first.
template <class Use>
Result<> forEachTrashed(const Use &use) {
    if (const auto there = requireLibrary(); !there)
        return there;
    return forEachPage(TrashQuery{.limit = entriesOfPage}, &JXGatekeeperClient::trashMatchingQuery,
                       [&](const TrashPage &page) -> Result<> {
                           std::ranges::for_each(page.assets, use);
                           return {};
                       });
}

Result<ExitCode> listTrash(const ListOptions &options) {
    using Align = Table::Align;
    Listing listing({{"UUID", Align::left, Table::Kind::uuid, 2},
                     {"KIND", Align::left, Table::Kind::whole, 0},
                     {"DELETED"},
                     {"KEPT UNTIL"},
                     {"SIZE", Align::right, Table::Kind::whole, 0},
                     {"NAME", Align::left, Table::Kind::text, 2}},
                    options.json);
    const auto listed = forEachTrashed([&](const TrashedAsset &each) {
        const AssetRecord &record = each.asset->record();
        const double end = each.dateTrashed + trashLifetime;
        if (options.json) {
            JSON described = describe(*each.asset);
            described["trashed"] = isoDateText(each.dateTrashed);
            described["keptUntil"] = isoDateText(end);
            listing.add(described);
        } else {
            listing.addRow({record.uuid, kindText(record), dateText(each.dateTrashed), dateText(end),
                            sizeText(record.byteSize), outsideName(record)});
        }
    });
    if (!listed)
        return passOn(listed);
    listing.end(localized("the trash is empty"));
    return ExitCode::success;
}

Result<> restoreAsset(const ManagedAsset &asset) {
    return waitForSuccess(
        localized("{} was not restored", asset.record().uuid), [&](const SuccessHandler &handler) {
            JXGatekeeperClient::sharedInstance()->restoreTrashedAssetWithURL(asset.assetURL(), handler);
        });
}

Result<ExitCode> restoreTrashed(const RestoreOptions &options) {
    if (options.all != options.assets.empty())
        return fail(ProblemKind::invalid,
                    localized("name the assets to restore, or use --all for all in the trash"));
    ExitCode code = ExitCode::success;
    Assets wanted;
    if (options.all) {
        const auto read = forEachTrashed([&](const TrashedAsset &each) { wanted.push_back(each.asset); });
        if (!read)
            return passOn(read);
    } else {
        auto found = findTrashed(namesIn(options.assets));
        if (!found)
            return passOn(found);
        wanted = std::move(found->assets);
        for (const std::string &name : found->absent)
            code = report(failToFindTrashed(name).value());
    }
    if (code != ExitCode::success)
        return code; // before anything is restored
    std::size_t restored = 0;
    const InterruptScope interrupts;
    Progress progress(localized("restoring"), wanted.size());
    for (const Ref<ManagedAsset> &each : wanted) {
        if (isInterrupted()) {
            code = report(failInterrupted(localized("interrupted: the rest is still in the trash")).value());
            break;
        }
        const auto result = restoreAsset(*each);
        if (!result)
            code = report(result.error());
        restored += result ? 1 : 0;
        progress.advance(result ? 1 : 0, result ? 0 : 1);
    }
    summarize(localizedCount(restored, "{} asset restored", "{} assets restored"));
    return code;
}

Result<ExitCode> emptyTrash(const EmptyOptions &options) {
    std::size_t count = 0;
    const auto counted = forEachTrashed([&](const TrashedAsset &) { ++count; });
    if (!counted)
        return passOn(counted);

    if (count > 0 && !options.yes)
        if (const auto confirmed = confirm(localizedCount(count, "This deletes {} asset permanently.",
                                                          "This deletes {} assets permanently."),
                                           localized("nothing was deleted; --yes deletes without asking"));
            !confirmed)
            return passOn(confirmed);
    const auto emptied =
        waitForSuccess(localized("the trash was not emptied"), [](const SuccessHandler &handler) {
            JXGatekeeperClient::sharedInstance()->emptyTrashWithHandler(handler);
        });
    if (!emptied)
        return passOn(emptied);
    summarize(localizedCount(count, "{} asset deleted", "{} assets deleted"));
    return ExitCode::success;
}

} // namespace

void setUpTrash(Command command) {
    command.requireSubcommand();
    command.footer("Examples:\n"
                   "  wickerlane trash list\n"
                   "  wickerlane trash restore 7F3D0A52\n"
                   "  wickerlane trash empty --yes");

    const Command list = command.addSubcommand("list", "List what is in the trash, the latest first");
    ListOptions &listing = list.runs(listTrash);
    list.addFlag("--json", listing.json, "Write JSON");

    const Command restore =
        command.addSubcommand("restore", "Take assets out of the trash, with their albums and edits");
    RestoreOptions &restoring = restore.runs(restoreTrashed);
    addNames(restore, restoring.assets).typeName("TRASHED");
    restore.addFlag("--all", restoring.all, "Restore all that is in the trash");

    const Command empty =
        command.addSubcommand("empty", "Delete all that is in the trash; this can't be undone");
    EmptyOptions &emptying = empty.runs(emptyTrash);
    addYes(empty, emptying.yes);
}

} // namespace wickerlane::cli

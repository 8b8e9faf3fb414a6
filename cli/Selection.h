// The assets that a command works on: named, read from standard input, or found by a query.
#ifndef CLI_SELECTION_H
#define CLI_SELECTION_H

#include <algorithm>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/Queries.h"
#include "cli/Texts.h"
#include "wickerlane/client/Request.h"

namespace wickerlane::cli {

/// What the command line says of the assets, and how the work on them is done.
struct Selection {
    std::vector<std::string> names; ///< "-" stands for those on standard input.
    std::string query;
    bool isDryRun = false;
    bool yes = false; ///< Without a question.

    [[nodiscard]] bool isEmpty() const { return names.empty() && query.empty(); }
    /// Whether the person who gave the command has not named each asset.
    [[nodiscard]] bool isOpen() const {
        return !query.empty() || std::ranges::find(names, "-") != names.end();
    }
};

/// ASSET...
Option addNames(const Command &command, std::vector<std::string> &names);
/// The same and --where.
void addSelection(const Command &command, Selection &selection);
/// --dry-run.
void addDryRun(const Command &command, Selection &selection);
/// --yes.
void addYes(const Command &command, bool &yes);

/// The names, with those on standard input in the place of "-".
[[nodiscard]] std::vector<std::string> namesIn(const std::vector<std::string> &given);

/// What is in a text one a line, or each ended by a NUL.
[[nodiscard]] std::vector<std::string> linesOf(const std::string &text);

/// The assets of a selection, each once, by their UUIDs, and the names that no asset has.
struct FoundAssets {
    std::vector<std::string> uuids;
    std::vector<std::string> absent;
};
Result<FoundAssets> find(const Selection &selection);

/// What is in the trash by such names, each once, and the names that nothing in it has.
struct FoundTrash {
    Assets assets;
    std::vector<std::string> absent;
};
Result<FoundTrash> findTrashed(std::span<const std::string> names);

/// The assets that find() gives, with each absent name reported; then `code` is not success.
struct SelectedAssets {
    std::vector<std::string> uuids;
    ExitCode code = ExitCode::success;
};
Result<SelectedAssets> select(const Selection &selection);

/// Shows the assets that something would be done to, and says what: "2 assets would be moved to the trash".
/// `trashed` are those that are there already.
Result<ExitCode> printDryRun(std::span<const std::string> uuids, const std::string &summary,
                             const Assets &trashed = {});

/// The texts that a change shows.
struct ChangeTexts {
    std::string doing; ///< While it is under way: "removing".
    /// "2 assets would be removed from Dunes".
    std::function<std::string(std::size_t count)> wouldBeDone;
    /// "2 assets removed from Dunes".
    std::function<std::string(std::size_t count)> done;
    /// What is asked before a change of assets that were not named one by one: "This replaces the captions
    /// of 2 assets." Empty where the change is easy to undo.
    std::function<std::string(std::size_t count)> question{};
};

/// Asks the daemon for the same change of assets, or shows them in a dry run, and says what was done. `fill`
/// sets what the request has besides the UUIDs.
Result<ExitCode> change(std::span<const std::string> uuids, const Selection &selection,
                        const ChangeTexts &texts, const protocol::Row &row,
                        const Handler<void(client::Request &request)> &fill);

/// The same of all that a selection finds. Changes nothing if one of them is not there.
Result<ExitCode> changeSelected(const Selection &selection, const ChangeTexts &texts,
                                const protocol::Row &row,
                                const Handler<void(client::Request &request)> &fill);

/// How far work on single assets came.
struct BulkOutcome {
    std::size_t done = 0;
    ExitCode code = ExitCode::success; ///< Of the last problem; each is reported.
};

/// Calls `work`, which gives a Result<>, with one asset after the other. A problem does not stop it, unless
/// the daemon is gone.
template <class Work>
Result<BulkOutcome> forEachSelected(std::span<const std::string> uuids, const std::string &what,
                                    const Work &work) {
    const InterruptScope interrupts;
    BulkOutcome outcome;
    Progress progress(what, uuids.size());
    const auto ended = forEachPart(uuids, [&](std::span<const std::string> part) -> Result<> {
        const auto assets = askForAssets(part);
        if (!assets)
            return passOn(assets);
        for (std::size_t i = 0; i < part.size(); ++i) {
            if (isInterrupted())
                return failInterrupted(localizedCount(uuids.size() - outcome.done,
                                                      "interrupted: {} asset is left as it was",
                                                      "interrupted: {} assets are left as they were"));
            const ReleaseScope scope;
            const Ref<ManagedAsset> &asset = (*assets)[i];
            const Result<> worked = asset ? work(*asset) : failToFindAsset(part[i]);
            if (!worked && worked.error().kind == ProblemKind::unreachable)
                return worked;
            if (!worked)
                outcome.code = report(worked.error());
            outcome.done += worked ? 1 : 0;
            progress.advance(worked ? 1 : 0, worked ? 0 : 1);
        }
        return {};
    });
    if (!ended && ended.error().kind != ProblemKind::cancelled)
        return passOn(ended);
    if (!ended)
        outcome.code = report(ended.error());
    return outcome;
}

} // namespace wickerlane::cli

#endif

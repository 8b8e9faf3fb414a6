// The assets that a command works on: named, read from standard input, or found by a query.
#ifndef CLI_SELECTION_H
#define CLI_SELECTION_H

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/Queries.h"

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

/// ASSET... and --where. Gives the first.
Option addSelection(const Command &command, Selection &selection);
/// --dry-run.
void addDryRun(const Command &command, Selection &selection);
/// --yes.
void addYes(const Command &command, bool &yes);

/// What is in a text one a line, or each ended by a NUL.
[[nodiscard]] std::vector<std::string> linesOf(const std::string &text);

/// The names, with those on standard input in the place of "-": one a line, or each ended by a NUL.
Result<std::vector<std::string>> namesIn(const Selection &selection);

/// The UUIDs of the assets, each once. Those that are not there are reported; then `code` is not success.
struct SelectedAssets {
    std::vector<std::string> uuids;
    ExitCode code = ExitCode::success;
};
Result<SelectedAssets> select(const Selection &selection);

/// Shows the assets that something would be done to: "moved to the trash".
Result<ExitCode> printDryRun(std::span<const std::string> uuids, std::string_view what);

/// Calls `work`, which gives a Result<>, with one part of a list after the other, until one fails.
template <class Work>
Result<> inParts(std::span<const std::string> uuids, std::string_view what, const Work &work) {
    const InterruptScope interrupts;
    Progress progress(std::string(what), uuids.size());
    for (std::size_t done = 0; done < uuids.size();) {
        const auto part = uuids.subspan(done, std::min(uuids.size() - done, entriesOfPage));
        if (const Result<> worked = work(part, progress); !worked)
            return worked;
        done += part.size();
        progress.advance(part.size());
        if (isInterrupted() && done < uuids.size())
            return failInterrupted(std::to_string(done) + " of " + std::to_string(uuids.size()) +
                                   " are done");
    }
    return {};
}

/// How far work on single assets came.
struct BulkOutcome {
    std::size_t done = 0;
    ExitCode code = ExitCode::success; ///< Of the last problem; each is reported.
};

/// Calls `work`, which gives a Result<>, with one asset after the other. A problem does not stop it, unless
/// the daemon is gone.
template <class Work>
Result<BulkOutcome> forEachSelected(std::span<const std::string> uuids, std::string_view what,
                                    const Work &work) {
    const InterruptScope interrupts;
    BulkOutcome outcome;
    Progress progress(std::string(what), uuids.size());
    for (std::size_t begin = 0; begin < uuids.size(); begin += entriesOfPage) {
        const auto part = uuids.subspan(begin, std::min(uuids.size() - begin, entriesOfPage));
        const auto assets = askForAssetsWithUUIDs(part);
        if (!assets)
            return passOn(assets);
        for (const std::string &uuid : part) {
            if (isInterrupted()) {
                outcome.code = report(failInterrupted(std::to_string(uuids.size() - outcome.done) +
                                                      " assets are left as they were")
                                          .value());
                return outcome;
            }
            const ReleaseScope scope;
            const auto found = assets->find(uuid);
            const Result<> worked = found == assets->end() ? failToFindAsset(uuid) : work(*found->second);
            if (!worked && worked.error().kind == ProblemKind::unreachable)
                return passOn(worked);
            if (!worked)
                outcome.code = report(worked.error());
            outcome.done += worked ? 1 : 0;
            progress.advance(worked ? 1 : 0, worked ? 0 : 1);
        }
    }
    return outcome;
}

} // namespace wickerlane::cli

#endif

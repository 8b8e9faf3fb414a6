// wickerlane restore
#include <nlohmann/json.hpp>

#include "cli/DaemonRequests.h"
#include "cli/Interrupt.h"
#include "cli/LibraryCounts.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/LibraryRows.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool json = false;
};

Result<ExitCode> showStatus(const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    const bool isComplete = client->hasCompletedRestorePostProcessing();
    const std::int64_t seconds = client->secondsNeededToCleanupModelAfterHarborsyncRestore();
    if (options.json) {
        printJSON({{"complete", isComplete}, {"cleanupSeconds", seconds}});
    } else {
        print(isComplete ? localized("no restore is in progress")
                         : localized("a restore is in progress; to end it: wickerlane restore finish"));
        print(localizedCount(static_cast<std::uint64_t>(seconds), "a cleanup would take about {} second",
                             "a cleanup would take about {} seconds"));
    }
    return ExitCode::success;
}

/// A step of a restore.
using Step = Result<> (*)();

template <const protocol::Row &row>
Result<> request() {
    return waitForWork(client::Request(row));
}

Result<> finish() {
    client::Request end(protocol::finalizeOTARestore);
    end.set(protocol::keys::recreateAlbumsFromMetadata, true);
    end.set(protocol::keys::restoreEnded, true);
    return waitForWork(end).and_then(request<protocol::dataMigrationWillFinish>);
}

Result<ExitCode> runStep(Step step) {
    // A restore may be what the store is missing for.
    if (const auto answers = requireDaemon(); !answers && answers.error().kind != ProblemKind::damagedStore)
        return passOn(answers);
    ExitCode code = ExitCode::success;
    if (const auto done = step(); !done) {
        if (isInterrupted() || done.error().kind == ProblemKind::unreachable)
            return passOn(done);
        code = report(done.error());
    }
    const auto counts = countLibrary();
    if (!counts) {
        report(counts.error());
        return ExitCode::failure;
    }
    print(textOf(*counts));
    return code;
}

} // namespace

void setUpRestore(Command command) {
    command.requireSubcommand();
    command.footer(
        "After you have copied the library's folder back from a backup, with its store or without:\n"
        "  wickerlane restore update     makes assets of all files, with their old UUIDs\n"
        "  wickerlane restore finish     makes the albums again\n\n"
        "`wickerlane restore cleanup` also makes assets of files that you put into DCIM by hand.\n\n"
        "Example:\n  wickerlane restore status");
    const auto status = command.addSubcommand("status", "Say whether a restore is in progress");
    status.addFlag("--json", status.runs(showStatus).json, "Write JSON");
    const auto addStep = [&](const char *name, const char *help, Step step) {
        command.addSubcommand(name, help).runs([step] { return runStep(step); });
    };
    addStep("update", "Start a restore: make assets of files that the store does not have",
            request<protocol::updateModelAfterOTARestore>);
    addStep("finish", "End a restore: make the albums again that the store does not have", finish);
    addStep("cleanup", "Repair the library and make assets of files found in it",
            request<protocol::cleanupModel>);
    addStep("import", "Only make assets of files found in the library's folders",
            request<protocol::importFileSystemAssets>);
}

} // namespace wickerlane::cli

// wickerlane restore
#include <nlohmann/json.hpp>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/LibraryCounts.h"
#include "cli/StoreLookup.h"
#include "cli/Subcommands.h"
#include "wickerlane/client/JXGatekeeperClient.h"

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
        print(isComplete ? "no restore is in progress"
                         : "a restore is in progress; to end it: wickerlane restore finish");
        print("a cleanup would take about " +
              countText(static_cast<std::uint64_t>(seconds), "second", "seconds"));
    }
    return ExitCode::success;
}

/// A step of a restore. Its own messages on standard error say what has failed.
using Step = void (*)(JXGatekeeperClient *);

Result<ExitCode> runStep(Step step) {
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    step(JXGatekeeperClient::sharedInstance());
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    const auto store = openStore();
    if (!store) {
        report(store.error());
        return ExitCode::failure;
    }
    const auto counts = (*store)->counts();
    if (!counts)
        return failToReadStore(counts);
    print(textOf(LibraryCounts{counts->photos, counts->videos}));
    return ExitCode::success;
}

} // namespace

void setUpRestore(Command command) {
    command.description("Restore a library from its files");
    command.requireSubcommand();
    command.footer(
        "After you have copied the library's folder back from a backup, with its store or without:\n"
        "  wickerlane restore update     makes assets of all files, with their old UUIDs\n"
        "  wickerlane restore finish     makes the albums again\n\n"
        "`wickerlane restore cleanup` also makes assets of files that you put into DCIM by hand.");
    const auto status = command.addSubcommand("status", "Say whether a restore is in progress");
    status.addFlag("--json", status.runs(showStatus).json, "Write JSON");
    const auto addStep = [&](const char *name, const char *help, Step step) {
        command.addSubcommand(name, help).runs([step] { return runStep(step); });
    };
    addStep("update", "Start a restore: make assets of files that the store does not have",
            [](JXGatekeeperClient *client) { client->updateModelAfterOTARestore(); });
    addStep("finish", "End a restore: make the albums again that the store does not have",
            [](JXGatekeeperClient *client) {
                client->finalizeOTARestoreRecreatingAlbums(true);
                static_cast<void>(waitUntilReceived()); // or the request below could overtake it
                client->dataMigrationWillFinish();      // waits until earlier requests are done
            });
    addStep("cleanup", "Repair the library and make assets of files found in it",
            [](JXGatekeeperClient *client) { client->cleanupModelAfterHarborsyncRestore(); });
    addStep("import", "Only make assets of files found in the library's folders",
            [](JXGatekeeperClient *client) { client->importFileSystemAssetsWaitingForReply(true); });
}

} // namespace wickerlane::cli

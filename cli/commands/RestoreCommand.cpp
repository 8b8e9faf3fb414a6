// wickerlane restore
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

ExitCode status(bool json) {
    if (!daemonAnswers())
        return failUnreachable();
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    const bool isComplete = client->hasCompletedRestorePostProcessing();
    const std::int64_t seconds = client->secondsNeededToCleanupModelAfterHarborsyncRestore();
    if (json) {
        printJSON({{"complete", isComplete}, {"cleanupSeconds", seconds}});
    } else {
        print(isComplete ? "no restore is under way"
                         : "a restore is under way; `wickerlane restore finish` ends it");
        print("a clean-up would take some " +
              countText(static_cast<std::uint64_t>(seconds), "second", "seconds"));
    }
    return ExitCode::success;
}

/// Runs a step that says itself on standard error when it fails, and shows what has come of it.
ExitCode runStep(const Handler<void(JXGatekeeperClient *)> &step) {
    if (!daemonAnswers())
        return failUnreachable();
    step(JXGatekeeperClient::sharedInstance());
    if (!daemonAnswers())
        return failUnreachable();
    ReleaseScope scope;
    const auto store = openStore();
    const auto counts = store ? store->counts() : std::nullopt;
    if (!counts)
        return ExitCode::failure;
    print(countText(counts->photos, "photo", "photos") + ", " + countText(counts->videos, "video", "videos"));
    return ExitCode::success;
}

} // namespace

void addRestore(Command app, Action &chosen) {
    const auto command = app.addSubcommand("restore", "Bring a library back whose files were restored");
    command.requireSubcommand();
    command.footer("When the library's folder was brought back from a copy, with its store or without:\n"
                   "  wickerlane restore update     makes assets of all files, under their own UUIDs\n"
                   "  wickerlane restore finish     makes the albums again\n\n"
                   "`wickerlane restore cleanup` alone also takes in files that were put into DCIM by hand.");
    auto json = std::make_shared<bool>(false);
    const auto say = command.addSubcommand("status", "Say how far it is");
    say.addFlag("--json", *json, "Write JSON");
    say.callback([json, &chosen] { chosen = [json] { return status(*json); }; });
    const auto addStep = [&](const char *name, const char *help, Handler<void(JXGatekeeperClient *)> step) {
        command.addSubcommand(name, help).callback([step, &chosen] {
            chosen = [step] { return runStep(step); };
        });
    };
    addStep("update", "Begin: take in what the store does not know",
            [](JXGatekeeperClient *client) { client->updateModelAfterOTARestore(); });
    addStep("finish", "End: make the albums again that the store lacks", [](JXGatekeeperClient *client) {
        client->finalizeOTARestoreRecreatingAlbums(true);
        static_cast<void>(daemonAnswers()); // it has got the request, whose answer nobody is told
        client->dataMigrationWillFinish();  // waits for the work that was asked for before
    });
    addStep("cleanup", "Mend the library and take in files found in it",
            [](JXGatekeeperClient *client) { client->cleanupModelAfterHarborsyncRestore(); });
    addStep("import", "Take in files found in the library's folders, and do nothing else",
            [](JXGatekeeperClient *client) { client->importFileSystemAssetsWaitingForReply(true); });
}

} // namespace wickerlane::cli

// The command `wickerlane`: a photo library from the shell.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include "cli/Command.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::cli {
namespace {

constexpr const char *exitCodes = R"(Exit codes:
  0  everything was done
  1  something could not be done; standard error says what
  2  the command line makes no sense
  3  the daemon can't be reached
  4  there is no such asset, text or process, or no library yet

Each subcommand explains itself: wickerlane import --help)";

ExitCode perform(const Action &action) {
    try {
        return action();
    } catch (const std::exception &problem) {
        return fail(ExitCode::failure, problem.what());
    }
}

/// The work runs on the global queue, so that this thread can serve the main queue meanwhile: that is where
/// changed log levels arrive.
ExitCode performServingMainQueue(const Action &action) {
    ExitCode result = ExitCode::failure;
    WorkQueue::global()->async([&] {
        result = perform(action);
        WorkQueue::main()->async([] { WorkQueue::stopMain(); });
    });
    WorkQueue::runMain();
    return result;
}

int run(int argc, char **argv) {
    CLI::App app("Saves photos into a Wickerlane photo library, looks them up, and takes them out again.");
    app.name("wickerlane");
    app.set_version_flag("--version", WICKERLANE_VERSION);
    app.footer(exitCodes);
    app.require_subcommand(1);
    app.fallthrough();

    std::string root;
    app.add_option("--root", root,
                   "Folder of the library to work on (default: WICKERLANE_ROOT, else the user's own library)")
        ->type_name("FOLDER");

    Action chosen;
    const Command command(&app);
    addImport(command, chosen);
    addCount(command, chosen);
    addWatch(command, chosen);
    addList(command, chosen);
    addShow(command, chosen);
    addResolve(command, chosen);
    addExport(command, chosen);
    addThumbnail(command, chosen);
    addVideoInfo(command, chosen);
    addEstimate(command, chosen);
    addPreview(command, chosen);
    addAlbum(command, chosen);
    addDelete(command, chosen);
    addChanges(command, chosen);
    addSizes(command, chosen);
    addBulletins(command, chosen);
    addStream(command, chosen);
    addPurge(command, chosen);
    addPerson(command, chosen);
    addRestore(command, chosen);
    addCheck(command, chosen);
    addConsent(command, chosen);
    addEntitlement(command, chosen);
    addText(command, chosen);
    addDescribe(command, chosen);
    addMoments(command, chosen);
    addDuplicates(command, chosen);
    addFeed(command, chosen);
    addRebuildThumbnails(command, chosen);
    addDaemon(command, chosen);
    addUUID(command, chosen);
    addProcess(command, chosen);
    addDevice(command, chosen);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &problem) {
        // A word that is no subcommand is better named than told as one that is missing.
        if (const auto words = app.remaining(); !words.empty() && app.get_subcommands().empty())
            return static_cast<int>(fail(ExitCode::usage, "there is no subcommand '" + words.front() +
                                                              "'; wickerlane --help lists them"));
        return app.exit(problem) == 0 ? 0 : static_cast<int>(ExitCode::usage);
    }
    // Before any other thread runs; the daemon inherits it when it is started.
    if (!root.empty())
        setenv("WICKERLANE_ROOT", std::filesystem::absolute(root).lexically_normal().c_str(), 1);

    noticeInterrupts();
    const ExitCode result = performServingMainQueue(chosen);
    if (std::fflush(stdout) != 0)
        return static_cast<int>(fail(ExitCode::failure, "the output could not be written"));
    return static_cast<int>(result);
}

} // namespace
} // namespace wickerlane::cli

int main(int argc, char **argv) {
    return wickerlane::cli::run(argc, argv);
}

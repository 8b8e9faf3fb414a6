// How the subcommands of `wickerlane` are added, and how they end. One file holds one subcommand.
#ifndef CLI_COMMAND_H
#define CLI_COMMAND_H

#include <CLI/CLI.hpp>

#include <functional>

namespace wickerlane::cli {

/// How the command ends, for scripts.
enum class ExitCode : int {
    success = 0,
    failure = 1,     ///< Some or all of the work could not be done.
    usage = 2,       ///< The command line makes no sense.
    unreachable = 3, ///< The daemon is not running and could not be started, or stopped answering.
    notFound = 4,    ///< There is no such asset, text or process, or no library yet.
};

/// The work of the subcommand that was named, run on the global queue while the main queue is served.
using Action = std::function<ExitCode()>;

// Each adds one subcommand, which stores its work in `chosen` when the command line names it. `chosen`
// outlives the parsing.

void addImport(CLI::App &app, Action &chosen);
void addCount(CLI::App &app, Action &chosen);
void addWatch(CLI::App &app, Action &chosen);
void addList(CLI::App &app, Action &chosen);
void addShow(CLI::App &app, Action &chosen);
void addResolve(CLI::App &app, Action &chosen);
void addExport(CLI::App &app, Action &chosen);
void addThumbnail(CLI::App &app, Action &chosen);
void addVideoInfo(CLI::App &app, Action &chosen);
void addEstimate(CLI::App &app, Action &chosen);
void addPreview(CLI::App &app, Action &chosen);
void addAlbum(CLI::App &app, Action &chosen);
void addDelete(CLI::App &app, Action &chosen);
void addChanges(CLI::App &app, Action &chosen);
void addSizes(CLI::App &app, Action &chosen);
void addBulletins(CLI::App &app, Action &chosen);
void addStream(CLI::App &app, Action &chosen);
void addPurge(CLI::App &app, Action &chosen);
void addPerson(CLI::App &app, Action &chosen);
void addRestore(CLI::App &app, Action &chosen);
void addCheck(CLI::App &app, Action &chosen);
void addConsent(CLI::App &app, Action &chosen);
void addEntitlement(CLI::App &app, Action &chosen);
void addText(CLI::App &app, Action &chosen);
void addDescribe(CLI::App &app, Action &chosen);
void addMoments(CLI::App &app, Action &chosen);
void addDuplicates(CLI::App &app, Action &chosen);
void addFeed(CLI::App &app, Action &chosen);
void addRebuildThumbnails(CLI::App &app, Action &chosen);
void addDaemon(CLI::App &app, Action &chosen);
void addUUID(CLI::App &app, Action &chosen);
void addProcess(CLI::App &app, Action &chosen);
void addDevice(CLI::App &app, Action &chosen);

} // namespace wickerlane::cli

#endif

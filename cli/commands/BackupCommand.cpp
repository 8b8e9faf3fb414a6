// wickerlane backup
#include <nlohmann/json.hpp>

#include "cli/Formatting.h"
#include "cli/Interrupt.h"
#include "cli/LibraryState.h"
#include "cli/Output.h"
#include "cli/SharedJSON.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "cli/backup/LibraryBackup.h"
#include "cli/backup/LibraryRestore.h"

namespace wickerlane::cli {
namespace {

struct Options {
    BackupOptions backup;
    bool json = false;
};

struct RestoreOptions {
    std::string folder;
    bool json = false;
};

ExitCode reportAll(const std::vector<Problem> &problems) {
    for (const Problem &each : problems)
        report(each);
    return problems.empty() ? ExitCode::success : ExitCode::failure;
}

JSON describe(const std::vector<Problem> &problems) {
    JSON described = JSON::array();
    for (const Problem &each : problems)
        described.push_back(describeProblem(each.file, each.text));
    return described;
}

Result<ExitCode> runBackup(const Options &options) {
    if (options.backup.folder.empty())
        return fail(ProblemKind::invalid, localized("FOLDER is required"));
    if (const auto readable = requireReadableStore(); !readable)
        return passOn(readable);
    const InterruptScope interrupts;
    const auto done = backUp(store::LibraryPaths(), options.backup);
    if (!done)
        return passOn(done);
    const ExitCode code = reportAll(done->problems);
    if (options.json) {
        printJSON({{"originals", done->originals},
                   {"copied", done->copied},
                   {"copiedBytes", done->copiedBytes},
                   {"replaced", done->replaced},
                   {"pruned", done->pruned},
                   {"problems", describe(done->problems)}});
        return code;
    }
    std::vector summary{localizedCount(done->originals, "{} original backed up", "{} originals backed up"),
                        localizedCount(done->copied, "{} file copied ({})", "{} files copied ({})",
                                       sizeText(done->copiedBytes))};
    if (done->replaced > 0)
        summary.push_back(localizedCount(done->replaced, "{} of them because the copy was damaged",
                                         "{} of them because the copy was damaged"));
    if (done->pruned > 0)
        summary.push_back(localizedCount(done->pruned, "{} old file removed", "{} old files removed"));
    print(joined(summary));
    return code;
}

Result<ExitCode> runRestore(const RestoreOptions &options) {
    const InterruptScope interrupts;
    const auto done = restoreBackup(store::LibraryPaths(), options.folder);
    if (!done)
        return passOn(done);
    const ExitCode code = reportAll(done->problems);
    if (options.json)
        printJSON({{"sameLibrary", done->isSameLibrary},
                   {"restored", done->restored},
                   {"present", done->present},
                   {"replaced", done->replaced},
                   {"problems", describe(done->problems)}});
    else if (done->isSameLibrary) {
        std::vector summary{localizedCount(
            done->restored, "the library is the one of the backup: {} file that it missed was filled in",
            "the library is the one of the backup: {} files that it missed were filled in")};
        if (done->replaced > 0)
            summary.push_back(localizedCount(done->replaced, "{} original put back as it was saved",
                                             "{} originals put back as they were saved"));
        print(joined(summary));
    } else
        print(localizedCount(done->restored + done->present, "{} file restored into an empty library",
                             "{} files restored into an empty library"));
    return code;
}

} // namespace

void setUpBackup(Command command) {
    command.footer(
        "Copies what FOLDER doesn't have yet: originals, edits, thumbnails, albums, names and decisions.\n"
        "Each copy is read back and compared with the sum that the library has of it. The library may be\n"
        "in use. After Ctrl-C or a crash the same command goes on; until it has ended, the earlier backup\n"
        "stands. FOLDER must be new, empty, or a backup of the same library.\n\n"
        "What was deleted in the library stays in FOLDER until --prune, but is not restored.\n\n"
        "Examples:\n"
        "  wickerlane backup /media/disk/photos\n"
        "  wickerlane --root ~/new backup restore /media/disk/photos");
    Options &options = command.runs(runBackup);
    command.addOption("FOLDER", options.backup.folder, "Folder of the backup").typeName("PATH");
    command.addFlag("--verify", options.backup.verify,
                    "Read all that is in the backup again; copy what is damaged again");
    command.addFlag("--prune", options.backup.prune, "Remove files that the library no longer has");
    command.addFlag("--json", options.json, "Write JSON");

    const auto restore = command.addSubcommand("restore", "Restore a library from a backup");
    restore.footer(
        "Into an empty library: all that the backup has, with the old UUIDs. Into the library of which it\n"
        "is a backup: the files that are missing, and originals that hoardd found to be damaged or changed,\n"
        "or that have another size; what is there in their places is moved to PhotoData/LostAndFound. A\n"
        "library with other photos is refused. Nothing is overwritten. hoardd must not serve the library\n"
        "meanwhile.");
    RestoreOptions &restoring = restore.runs(runRestore);
    restore.addOption("FOLDER", restoring.folder, "Folder of the backup").typeName("PATH").required();
    restore.addFlag("--json", restoring.json, "Write JSON");
}

} // namespace wickerlane::cli

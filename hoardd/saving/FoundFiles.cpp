#include "hoardd/saving/FoundFiles.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <span>
#include <vector>

#include "hoardd/library/Commits.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Failures.h"
#include "hoardd/media/FileType.h"
#include "hoardd/saving/AssetFiles.h"
#include "hoardd/saving/Companions.h"
#include "hoardd/saving/Saving.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/JobKeys.h"
#include "wickerlane/store/LibraryCheck.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;

namespace {

/// What has come of the files that were found.
struct Outcome {
    std::size_t saved = 0;
    FailureCount failures;
    FailureCount waiting;

    [[nodiscard]] Result<> result() const {
        const Result<> failed = failures.result("files could not be saved");
        return failed ? waiting.result("files wait for the next time") : failed;
    }
};

void note(Outcome &outcome, const std::string &file, const Problem &problem) {
    if (problem.kind == ProblemKind::busy) {
        JX_LOG(JXLogLevelNotice, JXAssetImportLog, "%s waits for the next time: %s", file.c_str(),
               problem.text.c_str());
        outcome.waiting.add(file, {problem.kind, problem.text, file});
        return;
    }
    JX_LOG(JXLogLevelError, JXAssetImportLog, "can't save %s: %s", file.c_str(), problem.text.c_str());
    outcome.failures.add(file, {problem.kind, problem.text, file});
}

/// Whether a file's content is that of a picture or a video. The problem is `busy` as long as that may
/// change.
Result<bool> isWholeMedia(const std::string &path, std::chrono::seconds quiet) {
    const UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK);
    if (!file && (errno == ENOENT || errno == ELOOP || errno == ENXIO))
        return false; // it has gone, or is a link or a socket
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return failSystem("read", path);
    if (!S_ISREG(status.st_mode))
        return false;
    if (isOpenForWriting(file.get()))
        return fail(ProblemKind::busy, "it is still being written", path);
    // One that is read-only and named by a UUID was an original: those are sealed when they are whole.
    const bool isSealed = (status.st_mode & 0222) == 0 && !uuidInName(path).empty();
    if (!isSealed && !isLeftAlone(status, quiet))
        return fail(ProblemKind::busy, "it has just changed", path);
    return fileTypeOf(file.get(), {}).isMedia;
}

SaveJob jobFor(Library &library, const std::string &path) {
    SaveJob job{Dictionary::createWithKeys({{protocol::job::unlessPresent, Number::of(true)}}), nullptr,
                nullptr, true};
    job.filePath = path;
    const std::string uuid = uuidInName(path);
    if (!uuid.empty())
        if (const auto known = library.writer().knows(uuid); known && !*known)
            job.uuid = uuid;
    return job;
}

/// Moves the pictures and videos among the originals that no asset has into a folder.
Result<> moveFoundFiles(Library &library, const std::string &folder, std::chrono::seconds quiet,
                        Outcome &outcome) {
    Result<> on;
    store::CheckOptions options;
    options.thumbnails = store::ThumbnailLook::name;
    options.isCancelled = [&] { return !(on = library.goesOn()); };
    const auto report = store::checkLibrary(library.paths(), options);
    if (!report)
        return passOn(report);
    if (!on) // the report is not whole
        return on;
    for (const store::Finding &finding : report->findings) {
        if (finding.kind != store::Finding::Kind::strayOriginal)
            continue;
        ReleaseScope scope;
        const auto isFound = isWholeMedia(finding.path, quiet);
        const auto moved = isFound && *isFound ? moveStray(library, finding.path, folder) : Result<>();
        if (!isFound)
            note(outcome, finding.path, isFound.error());
        else if (!moved)
            note(outcome, finding.path, moved.error());
    }
    return {};
}

/// Those that are named by UUIDs come first: of two with the same bytes, the name that URLs hold stays.
std::vector<std::string> filesIn(const std::string &folder) {
    std::vector<std::string> files;
    std::error_code none;
    for (const auto &entry : fs::directory_iterator(folder, none))
        if (entry.is_regular_file(none))
            files.push_back(entry.path());
    std::partition(files.begin(), files.end(),
                   [](const std::string &file) { return !uuidInName(file).empty(); });
    return files;
}

/// Saves files with one commit.
void saveFiles(Library &library, std::span<const std::string> files, Outcome &outcome) {
    ReleaseScope scope;
    std::vector<SaveJob> jobs;
    for (const std::string &file : files)
        jobs.push_back(jobFor(library, file));
    const auto saves = saveAssets(library, jobs);
    for (std::size_t i = 0; i < saves.size(); ++i)
        if (saves[i])
            ++outcome.saved;
        else
            note(outcome, files[i], saves[i].error());
}

Result<> saveFilesIn(Library &library, const std::string &folder, Outcome &outcome) {
    const std::vector<std::string> files = filesIn(folder);
    for (std::size_t at = 0; at < files.size(); at += maxFilesPerCommit) {
        if (const auto on = library.goesOn({at, files.size()}); !on)
            return passOn(on);
        saveFiles(library, std::span(files).subspan(at, std::min(maxFilesPerCommit, files.size() - at)),
                  outcome);
    }
    if (outcome.saved > 0)
        JX_LOG(JXLogLevelNotice, JXAssetImportLog, "saved %zu files that were found in the library",
               outcome.saved);
    return outcome.result();
}

} // namespace

Result<> moveStrayOriginal(Library &library, const std::string &path, const std::string &folder) {
    const auto isFound = isWholeMedia(path, settlingTime);
    if (!isFound)
        return passOn(isFound);
    if (*isFound) // since the found files were saved
        return fail(ProblemKind::busy, "it has just come", path);
    return moveStray(library, path, folder);
}

Result<> repairStrayCompanion(Library &library, const std::string &path) {
    if (const std::string uuid = uuidInName(path); !uuid.empty())
        if (const auto adopted = adoptCompanion(library, uuid); !adopted)
            return adopted;
    const auto isFound = isWholeMedia(path, settlingTime);
    if (!isFound)
        return passOn(isFound);
    return moveStray(library, path, *isFound ? library.paths().found() : library.paths().lostAndFound());
}

Result<> saveFoundFiles(Library &library, std::chrono::seconds quiet) {
    const std::string folder = library.paths().found();
    if (auto made = makeDurableFolder(folder); !made)
        return made;
    Outcome outcome;
    if (auto moved = moveFoundFiles(library, folder, quiet, outcome); !moved)
        return moved;
    return saveFilesIn(library, folder, outcome);
}

void saveFilesLeftFound(Library &library) {
    Outcome outcome;
    static_cast<void>(saveFilesIn(library, library.paths().found(), outcome)); // each is logged
}

} // namespace wickerlane::hoardd

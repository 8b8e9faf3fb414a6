#include "hoardd/saving/FoundFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <span>
#include <vector>

#include "hoardd/library/Commits.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Failures.h"
#include "hoardd/media/FileType.h"
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

void noteFailure(FailureCount &failures, const std::string &file, const Problem &problem) {
    JX_LOG(JXLogLevelError, JXAssetImportLog, "can't save %s: %s", file.c_str(), problem.text.c_str());
    failures.add(file, {problem.kind, problem.text, file});
}

/// The UUID that a file's name begins with; null when it begins with none.
Ref<UUID> uuidInName(const std::string &path) {
    return UUID::createWithText(lastPathComponent(path).substr(0, 36));
}

/// Whether a file's content is that of a picture or a video.
bool isMedia(const std::string &path) {
    const UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK);
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t count = file ? ::pread(file.get(), start.data(), start.size(), 0) : 0;
    return count > 0 && fileTypeOf(std::span(start).first(static_cast<std::size_t>(count)), {}).mediaType !=
                            unknownMediaType;
}

SaveJob jobFor(Library &library, const std::string &path) {
    SaveJob job{
        Dictionary::createWithKeys({{protocol::job::filePath, String::of(path)},
                                    {protocol::job::originalFilename, String::of(lastPathComponent(path))},
                                    {protocol::job::unlessPresent, Number::of(true)}}),
        nullptr, nullptr, true};
    const auto uuid = uuidInName(path);
    if (uuid)
        if (const auto known = library.assets().assetWithUUID(uuid->uuidString()->utf8()); known && !*known)
            job.uuid = uuid->uuidString()->utf8();
    return job;
}

/// Moves the pictures and videos among the originals that no asset has into a folder.
Result<> moveFoundFiles(Library &library, const std::string &folder, FailureCount &failures) {
    const auto report = store::checkLibrary(library.paths());
    if (!report)
        return passOn(report);
    for (const store::Finding &finding : report->findings) {
        ReleaseScope scope;
        if (finding.kind == store::Finding::Kind::strayOriginal && isMedia(finding.path))
            if (const auto moved = moveStray(library, finding.path, folder); !moved)
                noteFailure(failures, finding.path, moved.error());
    }
    return {};
}

std::vector<std::string> filesIn(const std::string &folder) {
    std::vector<std::string> files;
    std::error_code none;
    for (const auto &entry : fs::directory_iterator(folder, none))
        if (entry.is_regular_file(none))
            files.push_back(entry.path());
    return files;
}

/// Saves files with one commit. Gives how many.
std::size_t saveFiles(Library &library, std::span<const std::string> files, FailureCount &failures) {
    ReleaseScope scope;
    std::vector<SaveJob> jobs;
    for (const std::string &file : files)
        jobs.push_back(jobFor(library, file));
    const auto saves = saveAssets(library, jobs);
    std::size_t saved = 0;
    for (std::size_t i = 0; i < saves.size(); ++i)
        if (saves[i])
            ++saved;
        else
            noteFailure(failures, files[i], saves[i].error());
    return saved;
}

} // namespace

Result<> moveStray(Library &library, const std::string &path, const std::string &folder) {
    const auto named = uuidInName(path);
    if (!named)
        return moveIntoFolder(path, folder);
    // Meanwhile a save or a restore may have made an asset of it.
    const std::string uuid(named->uuidString()->utf8());
    const auto reservation = library.locks().reserve(uuid);
    if (!reservation)
        return {};
    const auto asset = library.assets().assetWithUUID(uuid);
    if (!asset)
        return passOn(asset);
    const bool isOriginal = *asset && library.paths().original((*asset)->record()) == path;
    return isOriginal ? Result<>() : moveIntoFolder(path, folder);
}

Result<> saveFoundFiles(Library &library) {
    const std::string folder = library.paths().found();
    if (auto made = makeDurableFolder(folder); !made)
        return made;
    FailureCount failures;
    if (auto moved = moveFoundFiles(library, folder, failures); !moved)
        return moved;
    const std::vector<std::string> files = filesIn(folder);
    std::size_t saved = 0;
    for (std::size_t at = 0; at < files.size(); at += maxFilesPerCommit) {
        if (library.isEnding())
            return stopped();
        saved += saveFiles(
            library, std::span(files).subspan(at, std::min(maxFilesPerCommit, files.size() - at)), failures);
    }
    if (saved > 0)
        JX_LOG(JXLogLevelNotice, JXAssetImportLog, "saved %zu files that were found in the library", saved);
    return failures.result("files could not be saved");
}

} // namespace wickerlane::hoardd

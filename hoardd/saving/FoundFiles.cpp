#include "hoardd/saving/FoundFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "hoardd/library/FileCopy.h"
#include "hoardd/media/FileType.h"
#include "hoardd/saving/AssetSaver.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/JobKeys.h"
#include "wickerlane/store/LibraryCheck.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t filesPerCommit = 16;

std::string nameOf(const std::string &path) {
    return path.substr(path.rfind('/') + 1);
}

/// Whether a file's content is that of a picture or a video.
bool isMedia(const std::string &path) {
    const UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK);
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t count = file ? ::pread(file.get(), start.data(), start.size(), 0) : 0;
    return count > 0 && fileTypeOf(std::span(start).first(static_cast<std::size_t>(count)), {}).mediaType !=
                            "application/octet-stream";
}

SaveJob jobFor(Library &library, const std::string &path) {
    SaveJob job{Dictionary::createWithKeys({{protocol::job::filePath, String::of(path)},
                                            {protocol::job::originalFilename, String::of(nameOf(path))},
                                            {protocol::job::unlessPresent, Number::of(true)}}),
                nullptr,
                nullptr,
                true,
                {}};
    const auto uuid = UUID::createWithText(nameOf(path).substr(0, 36));
    if (uuid && library.assets().assetWithUUID(uuid->uuidString()->utf8()) == nullptr)
        job.uuid = uuid->uuidString()->utf8();
    return job;
}

} // namespace

bool moveStray(Library &library, const std::string &path, const std::string &folder) {
    const auto named = UUID::createWithText(nameOf(path).substr(0, 36));
    if (!named)
        return moveInto(folder, path);
    // Meanwhile a save or a restore may have made an asset of it.
    const std::string uuid(named->uuidString()->utf8());
    const AssetLocks::Reservation reservation(library.locks(), uuid);
    if (!reservation)
        return true;
    const auto *asset = library.assets().assetWithUUID(uuid);
    const bool isOriginal = asset != nullptr && library.paths().original(asset->record()) == path;
    return isOriginal || moveInto(folder, path);
}

std::string saveFoundFiles(Library &library) {
    const std::string folder = library.paths().found();
    if (!makeFolders(folder))
        return "can't make " + folder + ": " + std::strerror(errno);
    std::string problem;
    const auto report = store::checkLibrary(library.paths(), {}, problem);
    if (!report)
        return problem;
    for (const store::Finding &finding : report->findings)
        if (finding.kind == store::Finding::Kind::strayOriginal && isMedia(finding.path) &&
            !moveStray(library, finding.path, folder))
            problem += finding.path + ": " + std::strerror(errno) + "; ";

    std::vector<std::string> files;
    std::error_code none;
    for (const auto &entry : fs::directory_iterator(folder, none))
        if (entry.is_regular_file(none))
            files.push_back(entry.path());
    std::size_t saved = 0;
    for (std::size_t at = 0; at < files.size() && !library.isEnding(); at += filesPerCommit) {
        ReleaseScope scope;
        std::vector<SaveJob> jobs;
        for (std::size_t i = at; i < std::min(at + filesPerCommit, files.size()); ++i)
            jobs.push_back(jobFor(library, files[i]));
        const auto results = AssetSaver(library).save(jobs);
        for (std::size_t i = 0; i < results.size(); ++i)
            if (results[i].problem.empty())
                ++saved;
            else
                problem += files[at + i] + ": " + results[i].problem + "; ";
    }
    if (library.isEnding())
        problem += "hoardd is ending; what is left is done the next time";
    if (saved > 0)
        JX_LOG(JXLogLevelNotice, JXAssetImportLog, "saved %zu files that were found in the library", saved);
    return problem;
}

} // namespace wickerlane::hoardd

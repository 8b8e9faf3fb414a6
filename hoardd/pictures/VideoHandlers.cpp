#include "hoardd/service/OperationFamilies.h"

#include <fcntl.h>

#include "hoardd/library/CallersFile.h"
#include "hoardd/library/Failures.h"
#include "hoardd/library/Library.h"
#include "hoardd/pictures/ExportEstimate.h"
#include "hoardd/pictures/PictureProblem.h"
#include "hoardd/pictures/VideoDescription.h"
#include "hoardd/service/Call.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/AssetRows.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

/// A video, and what it says of itself.
struct Video {
    std::uint64_t bytes = 0;
    PictureFacts facts;
};

Result<Video> examine(Library &library, const Result<RegularFile> &opened, const std::string &path) {
    if (!opened)
        return passOn(opened);
    const auto facts = library.media().probe(opened->file.get(), {});
    if (!facts)
        return fail(inContext(path, pictureProblem(facts.error(), path)));
    if (!facts->video)
        return fail(ProblemKind::invalid, path + " is not a video", path);
    return Video{static_cast<std::uint64_t>(opened->status.st_size), *facts};
}

Result<Video> examineCallersFile(Library &library, const Call &call, const std::string &path) {
    return examine(library, openCallersFile(path, call.mayReadFiles()), path);
}

/// The video that a URL names: an asset, or a file of the caller's.
Result<Video> examineURL(Library &library, const Call &call, const URL *url) {
    const auto asset = library.assets().assetWithURL(url);
    if (!asset)
        return passOn(asset);
    if (*asset) {
        const std::string path = library.paths().original((*asset)->record());
        return examine(library, requireRegular(openFile(path, O_RDONLY), path), path);
    }
    const std::string path = url != nullptr ? url->fileSystemPath() : std::string();
    if (path.empty())
        return fail(ProblemKind::invalid, "videoURL names no asset and no file");
    return examineCallersFile(library, call, path);
}

std::string textUnder(const String *text) {
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

Result<Answer> videoMetadata(Library &library, const Call &call) {
    const auto video = examineCallersFile(library, call, textUnder(call.get(keys::filePath)));
    if (!video)
        return passOn(video);
    return Answer().set(keys::metadata, describeVideo(video->facts, video->bytes).get());
}

Result<Answer> estimatedOutputFileLength(Library &library, const Call &call) {
    auto video = examineURL(library, call, call.get(keys::videoURL));
    const std::string fallback = textUnder(call.get(keys::fallbackFilePath));
    if (!video && !fallback.empty())
        video = examineCallersFile(library, call, fallback);
    if (!video)
        return passOn(video);
    const auto bytes =
        estimatedExportBytes(video->facts, video->bytes, textUnder(call.get(keys::exportPreset)),
                             as<Dictionary>(call.get(keys::exportProperties)));
    if (!bytes)
        return passOn(bytes);
    return Answer().set(keys::fileLength, *bytes);
}

constexpr Operation operations[] = {
    reading(protocol::videoMetadata, videoMetadata, Runs::beside),
    reading(protocol::estimatedOutputFileLength, estimatedOutputFileLength, Runs::beside),
};

} // namespace

std::span<const Operation> videoOperations() {
    return operations;
}

} // namespace wickerlane::hoardd

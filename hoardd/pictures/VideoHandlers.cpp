// What hoardd says of videos.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "hoardd/Daemon.h"
#include "hoardd/pictures/ExportEstimate.h"
#include "hoardd/service/Handlers.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/VideoKeys.h"

namespace wickerlane::hoardd {

using namespace protocol;

namespace {

/// A video file that is open for reading, and what it says of itself.
struct Video {
    UniqueFd file;
    std::uint64_t bytes = 0;
    PictureFacts facts;
    std::string problem; ///< Why there is none; empty when there is.
};

Video examine(Library &library, UniqueFd file, const std::string &path) {
    Video video{std::move(file), 0, {}, {}};
    struct stat status {};
    if (!video.file || ::fstat(video.file.get(), &status) != 0) {
        video.problem = "can't read " + path + ": " + std::strerror(errno);
        return video;
    }
    if (!S_ISREG(status.st_mode)) {
        video.problem = "can't read " + path + ": it is not a regular file";
        return video;
    }
    video.bytes = static_cast<std::uint64_t>(status.st_size);
    const ProbeResult probed = library.media().probe(video.file.get(), {});
    video.facts = probed.facts;
    if (!probed.succeeded())
        video.problem = path + ": " + probed.reason;
    else if (!probed.facts.video)
        video.problem = path + " is not a video";
    return video;
}

/// A file of the caller's, which is read with this process's rights, so that the caller must have them
/// itself.
Video examineCallersFile(Library &library, const Call &call, const std::string &path) {
    Video refused;
    if (call.peer().user != ::geteuid())
        refused.problem = "files are read only for the user that hoardd serves";
    else if (!path.starts_with('/') || path.find('\0') != std::string::npos)
        refused.problem = "the path of a video must be absolute";
    else
        return examine(library, UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)),
                       path);
    return refused;
}

/// The video that a URL names: an asset, or a file of the caller's.
Video examineURL(Library &library, const Call &call, const URL *url) {
    Video video;
    video.problem = "videoURL names no asset and no file";
    if (url == nullptr)
        return video;
    if (const store::ManagedAsset *asset = library.assets().assetWithURL(url)) {
        const std::string path = library.paths().original(asset->record());
        return examine(library, openFile(path, O_RDONLY), path);
    }
    const std::string path = url->fileSystemPath();
    return path.empty() ? std::move(video) : examineCallersFile(library, call, path);
}

Ref<Dictionary> metadataOf(const Video &video) {
    auto metadata = MutableDictionary::create();
    const PictureFacts &facts = video.facts;
    const auto number = [&](std::string_view key, auto value) {
        if (value > 0)
            metadata->set(key, Number::of(value));
    };
    const auto text = [&](std::string_view key, const std::string &value) {
        if (!value.empty())
            metadata->set(key, String::of(value));
    };
    number(videoKey::duration, facts.video->seconds);
    number(videoKey::width, std::uint64_t{facts.width});
    number(videoKey::height, std::uint64_t{facts.height});
    metadata->set(videoKey::rotation, Number::of(std::uint64_t{facts.video->rotation}));
    number(videoKey::frameRate, facts.video->frameRate);
    text(videoKey::videoCodec, facts.video->videoCodec);
    number(videoKey::videoBitRate, facts.video->videoBitRate);
    text(videoKey::audioCodec, facts.video->audioCodec);
    number(videoKey::audioBitRate, facts.video->audioBitRate);
    number(videoKey::audioChannels, std::uint64_t{facts.video->audioChannels});
    number(videoKey::audioSampleRate, std::uint64_t{facts.video->audioSampleRate});
    text(videoKey::container, facts.video->container);
    number(videoKey::trackCount, std::uint64_t{facts.video->trackCount});
    number(videoKey::fileSize, video.bytes);
    if (facts.captureDate)
        metadata->set(videoKey::creationDate,
                      Date::createWithUnixSeconds(static_cast<double>(facts.captureDate->seconds)).get());
    if (facts.place) {
        metadata->set(videoKey::latitude, Number::of(facts.place->latitude));
        metadata->set(videoKey::longitude, Number::of(facts.place->longitude));
    }
    return metadata;
}

std::string textUnder(const String *text) {
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

} // namespace

void videoMetadata(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const Video video = examineCallersFile(*library, call, textUnder(call.get(keys::filePath)));
    if (!video.problem.empty())
        return call.refuse(video.problem);
    call.answer(Answer().set(keys::metadata, metadataOf(video).get()));
}

void estimatedOutputFileLength(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    Video video = examineURL(*library, call, call.get(keys::videoURL));
    const std::string fallback = textUnder(call.get(keys::fallbackFilePath));
    if (!video.problem.empty() && !fallback.empty())
        video = examineCallersFile(*library, call, fallback);
    if (!video.problem.empty())
        return call.refuse(video.problem);
    const auto bytes = estimatedExportBytes(video.facts, video.bytes, textUnder(call.get(keys::exportPreset)),
                                            as<Dictionary>(call.get(keys::exportProperties)));
    if (!bytes)
        return call.refuse("there is no such export preset, or the video does not say how long it is");
    call.answer(Answer().set(keys::fileLength, *bytes));
}

} // namespace wickerlane::hoardd

#include "hoardd/media/MediaWorkers.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <thread>

#include "hoardd/media/WorkerCrew.h"

namespace wickerlane::hoardd {

using media::Answer;
using media::Request;
using media::RequestKind;
using media::WorkerCrew;
using media::WorkerProcess;

namespace {

// Decoders of these formats have a record of faults: each file gets a process of its own.
bool isRisky(MediaFormat format) {
    return format == MediaFormat::tiff || format == MediaFormat::heif || format == MediaFormat::avif ||
           format == MediaFormat::video || format == MediaFormat::raw;
}

std::string workerProgram() {
    std::array<char, 4096> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size() - 1);
    std::string folder(path.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    folder.resize(std::min(folder.rfind('/'), folder.size()));
    if (std::string beside = folder + "/hoardd-media"; access(beside.c_str(), X_OK) == 0)
        return beside;
    return folder + "/../libexec/hoardd-media";
}

template <typename Result>
Result failed(MediaFailure failure, std::string reason) {
    Result result;
    result.failure = failure;
    result.reason = std::move(reason);
    return result;
}

// The descriptor as one that can only be read, since a worker is to be unable to touch an original.
int readOnly(int descriptor, UniqueFd &reopened) {
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY)
        return descriptor;
    reopened.reset(open(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), O_RDONLY | O_CLOEXEC));
    return reopened.get();
}

// Texts from a worker: ended where they say or where they end, printable.
template <std::size_t size>
std::string textOf(const std::array<char, size> &characters) {
    std::string text(characters.begin(), std::ranges::find(characters, '\0'));
    for (char &character : text)
        if (character < ' ' || character > '~')
            character = '?';
    while (text.ends_with(' '))
        text.pop_back();
    return text;
}

std::uint32_t sideOf(std::uint32_t side) {
    return side <= pictureLimits.side ? side : 0;
}

VideoFacts videoFactsOf(const Answer &answer) {
    const auto sensible = [](double value, double most) { return value > 0 && value <= most ? value : 0; };
    constexpr std::uint64_t mostBitRate = 100'000'000'000;
    VideoFacts facts;
    facts.seconds = sensible(answer.seconds, 1e7);
    facts.frameRate = sensible(answer.frameRate, 1e5);
    facts.rotation = answer.rotation % 90 == 0 && answer.rotation < 360 ? answer.rotation : 0;
    facts.trackCount = answer.trackCount;
    facts.audioChannels = std::min(answer.audioChannels, 1024U);
    facts.audioSampleRate = answer.audioSampleRate;
    facts.videoBitRate = std::min(answer.videoBitRate, mostBitRate);
    facts.audioBitRate = std::min(answer.audioBitRate, mostBitRate);
    facts.container = textOf(answer.container);
    facts.videoCodec = textOf(answer.videoCodec);
    facts.audioCodec = textOf(answer.audioCodec);
    return facts;
}

// A worker that a file has taken over can answer anything, so that what makes no sense is left out.
PictureFacts factsOf(const Answer &answer) {
    PictureFacts facts;
    facts.format = answer.format <= lastMediaFormat ? answer.format : MediaFormat::unknown;
    facts.width = sideOf(answer.width);
    facts.height = sideOf(answer.height);
    facts.orientation = answer.orientation >= 1 && answer.orientation <= 8 ? answer.orientation : 1;
    constexpr std::int64_t farAway = 1'000'000'000'000; // some 30,000 years
    if (answer.hasDate != 0 && answer.dateSeconds > -farAway && answer.dateSeconds < farAway &&
        answer.dateNanoseconds < 1'000'000'000) {
        facts.captureDate = CaptureDate{answer.dateSeconds, answer.dateNanoseconds, std::nullopt};
        if (answer.hasZone != 0 && answer.zoneMinutes > -24 * 60 && answer.zoneMinutes < 24 * 60)
            facts.captureDate->zoneMinutes = answer.zoneMinutes;
    }
    if (answer.hasPlace != 0 && std::abs(answer.latitude) <= 90 && std::abs(answer.longitude) <= 180)
        facts.place = Place{answer.latitude, answer.longitude};
    facts.cameraMake = textOf(answer.cameraMake);
    facts.cameraModel = textOf(answer.cameraModel);
    if (answer.isVideo != 0)
        facts.video = videoFactsOf(answer);
    return facts;
}

MediaResult resultOf(const Answer &answer) {
    if (answer.failure == MediaFailure::none)
        return {};
    return {answer.failure <= lastMediaFailure ? answer.failure : MediaFailure::damaged,
            textOf(answer.reason)};
}

MediaResult resultOfDeath(int signal) {
    if (signal == SIGPROF)
        return {MediaFailure::timedOut, "the file takes more processor time than is allowed"};
    if (signal == 0)
        return {MediaFailure::workerDied, "the media worker ended"};
    const char *name = sigdescr_np(signal);
    return {MediaFailure::workerDied,
            std::string("the media worker was ended by: ") + (name != nullptr ? name : "a signal")};
}

WorkerCrew::Settings crewSettings(const MediaWorkersOptions &options, WorkerProcess::Mode mode) {
    const unsigned workers =
        options.workers != 0 ? options.workers : std::clamp(std::thread::hardware_concurrency(), 1U, 4U);
    return {options.program.empty() ? workerProgram() : options.program, mode, workers,
            mode == WorkerProcess::Mode::shared ? workers : 0, std::max(options.requestsPerWorker, 1U)};
}

} // namespace

struct MediaWorkers::Crews {
    MediaWorkersOptions options;
    WorkerCrew shared;
    WorkerCrew apart;

    explicit Crews(const MediaWorkersOptions &wanted)
        : options(wanted), shared(crewSettings(wanted, WorkerProcess::Mode::shared)),
          apart(crewSettings(wanted, WorkerProcess::Mode::apart)) {}

    MediaResult run(WorkerCrew &crew, Request request, std::span<const int> descriptors, Answer &answer);
    MediaResult runOnPicture(int picture, const Request &request, std::span<const int> outputs,
                             Answer &answer);
    ProbeResult look(RequestKind kind, int picture, std::span<const ThumbnailTarget> thumbnails,
                     Answer &answer);
};

MediaResult MediaWorkers::Crews::run(WorkerCrew &crew, Request request, std::span<const int> descriptors,
                                     Answer &answer) {
    request.processorMilliseconds = static_cast<std::uint32_t>(options.processorTime.count());
    for (;;) {
        std::string whyNot;
        std::unique_ptr<WorkerProcess> worker = crew.borrow(whyNot);
        if (!worker)
            return {MediaFailure::unavailable, whyNot};
        const auto exchange = worker->exchange(request, descriptors, options.deadline, answer);
        const int signal = exchange == WorkerProcess::Exchange::died ? worker->endingSignal() : 0;
        crew.giveBack(std::move(worker));
        switch (exchange) {
        case WorkerProcess::Exchange::answered:
            return resultOf(answer);
        case WorkerProcess::Exchange::timedOut:
            return {MediaFailure::timedOut, "the file takes more time than is allowed"};
        case WorkerProcess::Exchange::died:
            return resultOfDeath(signal);
        case WorkerProcess::Exchange::notDelivered:
            break; // it had died while it was idle; each try uses one up, so this ends
        }
    }
}

MediaResult MediaWorkers::Crews::runOnPicture(int picture, const Request &request,
                                              std::span<const int> outputs, Answer &answer) {
    UniqueFd reopened;
    std::array<int, media::mostDescriptors> descriptors{readOnly(picture, reopened)};
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t length = pread(descriptors[0], start.data(), start.size(), 0);
    if (length < 0)
        return {MediaFailure::badRequest, "the picture cannot be read"};
    const MediaFormat format = mediaFormatOf(std::span(start).first(static_cast<std::size_t>(length)));
    if (format == MediaFormat::unknown)
        return {MediaFailure::unknownFormat, "the file is not a picture of a known format"};
    std::ranges::copy(outputs, descriptors.begin() + 1);
    return run(isRisky(format) ? apart : shared, request, std::span(descriptors).first(1 + outputs.size()),
               answer);
}

MediaWorkers::MediaWorkers(MediaWorkersOptions options) : crews(std::make_unique<Crews>(options)) {
}

MediaWorkers::~MediaWorkers() = default;

namespace {

// Fills the part of a request that says which thumbnails are wanted. Empty text on success.
std::string fillThumbnails(std::span<const ThumbnailTarget> thumbnails, Request &request,
                           std::array<int, media::mostThumbnails> &outputs) {
    if (thumbnails.size() > media::mostThumbnails)
        return "too many thumbnails are asked for at once";
    for (const ThumbnailTarget &thumbnail : thumbnails) {
        if (thumbnail.maxSide == 0 || thumbnail.maxSide > pictureLimits.side)
            return "a thumbnail has an impossible size";
        outputs[request.thumbnailCount] = thumbnail.output;
        request.thumbnailSides[request.thumbnailCount++] = thumbnail.maxSide;
    }
    return {};
}

} // namespace

ProbeResult MediaWorkers::Crews::look(RequestKind kind, int picture,
                                      std::span<const ThumbnailTarget> thumbnails, Answer &answer) {
    Request request;
    request.kind = kind;
    std::array<int, media::mostThumbnails> outputs{};
    if (const std::string wrong = fillThumbnails(thumbnails, request, outputs); !wrong.empty())
        return failed<ProbeResult>(MediaFailure::badRequest, wrong);
    ProbeResult result{runOnPicture(picture, request, std::span(outputs).first(thumbnails.size()), answer),
                       {}};
    result.facts = factsOf(answer);
    return result;
}

ExamineResult MediaWorkers::examine(int picture, std::span<const ThumbnailTarget> thumbnails) {
    Answer answer;
    ExamineResult result{crews->look(RequestKind::examine, picture, thumbnails, answer)};
    result.hasPreview = result.succeeded() && answer.hasPreview != 0;
    return result;
}

ProbeResult MediaWorkers::probe(int picture, std::span<const ThumbnailTarget> thumbnails) {
    Answer answer;
    return crews->look(RequestKind::probe, picture, thumbnails, answer);
}

FingerprintResult MediaWorkers::fingerprint(int picture) {
    Request request;
    request.kind = RequestKind::fingerprint;
    Answer answer;
    FingerprintResult result{crews->runOnPicture(picture, request, {}, answer), std::nullopt};
    if (result.succeeded() && answer.hasFingerprint != 0)
        result.fingerprint = Fingerprint{answer.differenceHash, answer.frequencyHash};
    return result;
}

namespace {

// Fills the part of a request that says how an image is written. False when it makes no sense.
bool fillSettings(const ImageSettings &settings, Request &request) {
    request.format = settings.format;
    request.maxSide = settings.maxSide;
    request.quality = settings.quality;
    const bool writable = settings.format == MediaFormat::jpeg || settings.format == MediaFormat::png ||
                          settings.format == MediaFormat::webp;
    return writable && settings.quality >= 1 && settings.quality <= 100;
}

ImageResult imageResult(const MediaResult &ended, const Answer &answer) {
    return {ended, sideOf(answer.width), sideOf(answer.height)};
}

} // namespace

ImageResult MediaWorkers::render(int picture, const ImageSettings &settings, int output) {
    Request request;
    request.kind = RequestKind::render;
    if (!fillSettings(settings, request))
        return failed<ImageResult>(MediaFailure::badRequest, "images cannot be written with these settings");
    Answer answer;
    return imageResult(crews->runOnPicture(picture, request, std::span(&output, 1), answer), answer);
}

ImageResult MediaWorkers::encode(const SurfacePixels &surface, const ImageSettings &settings, int output) {
    Request request;
    request.kind = RequestKind::encode;
    const std::uint64_t pixelBytes = surface.format == SurfaceFormat::gray ? 1 : 4;
    const std::uint64_t pixels = std::uint64_t{surface.width} * surface.height;
    if (!fillSettings(settings, request) || settings.maxSide != 0)
        return failed<ImageResult>(MediaFailure::badRequest, "images cannot be written with these settings");
    if (pixels == 0 || surface.width > pictureLimits.side || surface.height > pictureLimits.side ||
        surface.bytesPerRow < surface.width * pixelBytes || surface.bytesPerRow % pixelBytes != 0 ||
        surface.bytesPerRow > 2 * pictureLimits.side * pixelBytes)
        return failed<ImageResult>(MediaFailure::badRequest, "the surface has an impossible size");
    if (pixels > pictureLimits.pixels || surface.bytesPerRow * surface.height > pictureLimits.fileBytes)
        return failed<ImageResult>(MediaFailure::tooLarge, "the surface has more pixels than are allowed");
    request.surfaceFormat = surface.format;
    request.surfaceWidth = surface.width;
    request.surfaceHeight = surface.height;
    request.surfaceBytesPerRow = surface.bytesPerRow;
    UniqueFd reopened;
    const std::array descriptors{readOnly(surface.memory, reopened), output};
    Answer answer;
    return imageResult(crews->run(crews->shared, request, descriptors, answer), answer);
}

MediaResult MediaWorkers::testConfinement() {
    Request request;
    request.kind = RequestKind::selfTest;
    Answer answer;
    return crews->run(crews->shared, request, {}, answer);
}

WorkerPoolStatus MediaWorkers::status() const {
    const WorkerCrew::Status shared = crews->shared.status();
    const WorkerCrew::Status apart = crews->apart.status();
    WorkerPoolStatus status{shared.idle + apart.idle,
                            shared.busy + apart.busy,
                            shared.started + apart.started,
                            {shared.processes.begin(), shared.processes.end()},
                            shared.hello.hasSystemCallFilter != 0,
                            shared.hello.landlockVersion,
                            shared.trouble.empty() ? apart.trouble : shared.trouble};
    status.processes.insert(status.processes.end(), apart.processes.begin(), apart.processes.end());
    return status;
}

} // namespace wickerlane::hoardd

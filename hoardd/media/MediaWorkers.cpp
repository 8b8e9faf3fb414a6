#include "hoardd/media/MediaWorkers.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>

#include "hoardd/media/WorkerCrew.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/process/ProcessFacts.h"

namespace wickerlane::hoardd {

using media::WorkerAnswer;
using media::WorkerCrew;
using media::WorkerProcess;
using media::WorkerRequest;

namespace {

// Decoders of these formats have a record of faults: each file gets a process of its own.
bool isRisky(MediaFormat format) {
    return format == MediaFormat::tiff || format == MediaFormat::heif || format == MediaFormat::avif ||
           format == MediaFormat::video || format == MediaFormat::raw;
}

std::string workerProgram() {
    const std::string executable = ownExecutable();
    const std::string folder(parentFolder(executable));
    if (std::string beside = folder + "/hoardd-media"; access(beside.c_str(), X_OK) == 0)
        return beside;
    return folder + "/../libexec/hoardd-media";
}

template <typename Kind>
Kind failed(MediaFailure failure, std::string reason) {
    Kind result;
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

MediaResult resultOf(const WorkerAnswer &answer) {
    if (answer.failure == MediaFailure::none)
        return {};
    return {answer.failure <= lastMediaFailure ? answer.failure : MediaFailure::damaged,
            printable(answer.reason)};
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
    const unsigned workers = options.maxWorkers != 0 ? options.maxWorkers : std::min(processorCount(), 4U);
    return {options.program.empty() ? workerProgram() : options.program, mode, workers,
            mode == WorkerProcess::Mode::shared ? workers : 0, std::max(options.requestsPerWorker, 1U)};
}

} // namespace

struct MediaWorkers::Crews {
    MediaWorkersOptions options;
    WorkerCrew shared;
    WorkerCrew isolated;

    explicit Crews(const MediaWorkersOptions &wanted)
        : options(wanted), shared(crewSettings(wanted, WorkerProcess::Mode::shared)),
          isolated(crewSettings(wanted, WorkerProcess::Mode::isolated)) {}

    MediaResult run(WorkerCrew &crew, WorkerRequest request, std::span<const int> descriptors,
                    WorkerAnswer &answer);
    MediaResult runOnPicture(int picture, const WorkerRequest &request, std::span<const int> outputs,
                             WorkerAnswer &answer);
    ProbeResult probe(WorkerRequest::Kind kind, int picture, std::span<const ThumbnailTarget> thumbnails,
                      WorkerAnswer &answer);
};

MediaResult MediaWorkers::Crews::run(WorkerCrew &crew, WorkerRequest request,
                                     std::span<const int> descriptors, WorkerAnswer &answer) {
    request.processorMilliseconds = static_cast<std::uint32_t>(options.processorTime.count());
    for (;;) {
        Result<std::unique_ptr<WorkerProcess>> worker = crew.borrow();
        if (!worker)
            return {MediaFailure::unavailable, worker.error().text};
        const auto exchange = (*worker)->exchange(request, descriptors, options.deadline, answer);
        const int signal = exchange == WorkerProcess::Exchange::died ? (*worker)->endingSignal() : 0;
        crew.giveBack(std::move(*worker));
        switch (exchange) {
        case WorkerProcess::Exchange::answered:
            return resultOf(answer);
        case WorkerProcess::Exchange::timedOut:
            return {MediaFailure::timedOut, "the file takes more time than is allowed"};
        case WorkerProcess::Exchange::died:
            return resultOfDeath(signal);
        case WorkerProcess::Exchange::notDelivered:
            break; // It had died while it was idle. Each try uses one up, so this ends.
        }
    }
}

MediaResult MediaWorkers::Crews::runOnPicture(int picture, const WorkerRequest &request,
                                              std::span<const int> outputs, WorkerAnswer &answer) {
    UniqueFd reopened;
    std::array<int, media::maxDescriptors> descriptors{readOnly(picture, reopened)};
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t length = pread(descriptors[0], start.data(), start.size(), 0);
    if (length < 0)
        return {MediaFailure::badRequest, "the picture cannot be read"};
    const MediaFormat format = mediaFormatOf(std::span(start).first(static_cast<std::size_t>(length)));
    if (format == MediaFormat::unknown)
        return {MediaFailure::unknownFormat, "the file is not a picture of a known format"};
    std::ranges::copy(outputs, descriptors.begin() + 1);
    return run(isRisky(format) ? isolated : shared, request, std::span(descriptors).first(1 + outputs.size()),
               answer);
}

MediaWorkers::MediaWorkers(MediaWorkersOptions options) : crews(std::make_unique<Crews>(options)) {
}

MediaWorkers::~MediaWorkers() = default;

namespace {

// Fills the part of a request that says which thumbnails are wanted. Empty text on success.
std::string fillThumbnails(std::span<const ThumbnailTarget> thumbnails, WorkerRequest &request,
                           std::array<int, media::maxThumbnails> &outputs) {
    if (thumbnails.size() > media::maxThumbnails)
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

ProbeResult MediaWorkers::Crews::probe(WorkerRequest::Kind kind, int picture,
                                       std::span<const ThumbnailTarget> thumbnails, WorkerAnswer &answer) {
    WorkerRequest request;
    request.kind = kind;
    std::array<int, media::maxThumbnails> outputs{};
    if (const std::string wrong = fillThumbnails(thumbnails, request, outputs); !wrong.empty())
        return failed<ProbeResult>(MediaFailure::badRequest, wrong);
    ProbeResult result{runOnPicture(picture, request, std::span(outputs).first(thumbnails.size()), answer),
                       {}};
    result.facts = plausibleFacts(answer.facts);
    return result;
}

ExamineResult MediaWorkers::examine(int picture, std::span<const ThumbnailTarget> thumbnails) {
    WorkerAnswer answer;
    ExamineResult result{crews->probe(WorkerRequest::Kind::examine, picture, thumbnails, answer)};
    result.hasPreview = result.succeeded() && answer.hasPreview != 0;
    return result;
}

ProbeResult MediaWorkers::probe(int picture, std::span<const ThumbnailTarget> thumbnails) {
    WorkerAnswer answer;
    return crews->probe(WorkerRequest::Kind::probe, picture, thumbnails, answer);
}

FingerprintResult MediaWorkers::fingerprint(int picture) {
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::fingerprint;
    WorkerAnswer answer;
    FingerprintResult result{crews->runOnPicture(picture, request, {}, answer), std::nullopt};
    if (result.succeeded())
        result.fingerprint = answer.fingerprint.asOptional();
    return result;
}

namespace {

// Fills the part of a request that says how an image is written. False when it makes no sense.
bool fillSettings(const ImageSettings &settings, WorkerRequest &request) {
    request.settings = settings;
    const bool writable = settings.format == MediaFormat::jpeg || settings.format == MediaFormat::png ||
                          settings.format == MediaFormat::webp;
    return writable && settings.quality >= 1 && settings.quality <= 100;
}

ImageResult imageResult(const MediaResult &ended, const WorkerAnswer &answer) {
    return {ended, plausibleSide(answer.facts.width), plausibleSide(answer.facts.height)};
}

} // namespace

ImageResult MediaWorkers::render(int picture, const ImageSettings &settings, int output) {
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::render;
    if (!fillSettings(settings, request))
        return failed<ImageResult>(MediaFailure::badRequest, "images cannot be written with these settings");
    WorkerAnswer answer;
    return imageResult(crews->runOnPicture(picture, request, std::span(&output, 1), answer), answer);
}

ImageResult MediaWorkers::encode(const SurfacePixels &surface, const ImageSettings &settings, int output) {
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::encode;
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
    request.surface = surface;
    UniqueFd reopened;
    const std::array descriptors{readOnly(surface.memory, reopened), output};
    WorkerAnswer answer;
    return imageResult(crews->run(crews->shared, request, descriptors, answer), answer);
}

MediaResult MediaWorkers::testConfinement() {
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::selfTest;
    WorkerAnswer answer;
    return crews->run(crews->shared, request, {}, answer);
}

MediaWorkersStatus MediaWorkers::status() const {
    const WorkerCrew::Status shared = crews->shared.status();
    const WorkerCrew::Status isolated = crews->isolated.status();
    MediaWorkersStatus status{shared.idle + isolated.idle,
                              shared.busy + isolated.busy,
                              shared.started + isolated.started,
                              {shared.processes.begin(), shared.processes.end()},
                              shared.hello.hasSystemCallFilter != 0,
                              shared.hello.landlockVersion,
                              shared.problem.empty() ? isolated.problem : shared.problem};
    status.processes.insert(status.processes.end(), isolated.processes.begin(), isolated.processes.end());
    return status;
}

} // namespace wickerlane::hoardd

#include "hoardd/media/MediaWorkers.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstring>

#include "hoardd/media/WorkerPool.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/process/ProcessFacts.h"

namespace wickerlane::hoardd {

using media::WorkerAnswer;
using media::WorkerPool;
using media::WorkerProcess;
using media::WorkerRequest;

namespace {

/// A PNG of four pixels.
constexpr std::uint8_t soundPicture[] = {
    0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48, 0x44,
    0x52, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x00, 0x00, 0x00, 0x00, 0x57,
    0xDD, 0x52, 0xF8, 0x00, 0x00, 0x00, 0x0E, 0x49, 0x44, 0x41, 0x54, 0x78, 0xDA, 0x63, 0x70,
    0x38, 0xC0, 0x70, 0xC0, 0x01, 0x00, 0x06, 0x06, 0x02, 0x01, 0x68, 0x6A, 0x5B, 0xB9, 0x00,
    0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

/// How a decoder ends its process. Sanitizers and limits of processor time do so, too.
constexpr int crashes[] = {SIGSEGV, SIGABRT, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGPROF};

// Decoders of these formats have a record of faults: each file gets a process of its own.
bool isRisky(MediaFormat format) {
    return format == MediaFormat::tiff || format == MediaFormat::heif || format == MediaFormat::avif ||
           format == MediaFormat::video || format == MediaFormat::raw || format == MediaFormat::bmp ||
           format == MediaFormat::jxl || format == MediaFormat::jp2;
}

std::string workerProgram() {
    const std::string executable = ownExecutable();
    const std::string folder(parentFolder(executable));
    if (std::string beside = folder + "/hoardd-media"; access(beside.c_str(), X_OK) == 0)
        return beside;
    return folder + "/../libexec/hoardd-media";
}

// The descriptor as one that can only be read, since a worker is to be unable to touch an original.
int readOnly(int descriptor, UniqueFd &reopened) {
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY)
        return descriptor;
    reopened.reset(open(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), O_RDONLY | O_CLOEXEC));
    return reopened.get();
}

ProblemKind kindOf(MediaFailure failure) {
    switch (failure) {
    case MediaFailure::outputFailed:
        return ProblemKind::notWritable;
    case MediaFailure::notConfined:
    case MediaFailure::shortage:
        return ProblemKind::failed;
    default:
        return ProblemKind::invalid;
    }
}

// The answer of a worker that did what was asked of it.
Result<WorkerAnswer> unlessRefused(const WorkerAnswer &answer) {
    if (answer.failure == MediaFailure::none)
        return answer;
    return fail(kindOf(answer.failure), printable(answer.reason));
}

// Whether a decoder does such a thing by itself. Others come from outside: when memory runs out, or when a
// file can't be read to its end.
bool isCrash(int signal) {
    return std::ranges::find(crashes, signal) != std::end(crashes);
}

Failure problemOfDeath(int signal) {
    if (signal == SIGPROF)
        return fail(ProblemKind::failed, "the file takes more processor time than is allowed");
    if (signal == 0)
        return fail(ProblemKind::failed, "the media worker ended");
    const char *name = sigdescr_np(signal);
    return fail(ProblemKind::failed,
                std::string("the media worker was ended by: ") + (name != nullptr ? name : "a signal"));
}

// Of what a worker that died may have written.
void emptyOutputs(std::span<const int> outputs) {
    for (const int output : outputs)
        if (lseek(output, 0, SEEK_SET) == 0)
            static_cast<void>(ftruncate(output, 0));
}

WorkerPool::Settings poolSettings(const MediaWorkersOptions &options, WorkerProcess::Mode mode) {
    const unsigned workers = options.maxWorkers != 0 ? options.maxWorkers : std::min(processorCount(), 4U);
    return {options.program.empty() ? workerProgram() : options.program, mode, workers,
            mode == WorkerProcess::Mode::shared ? workers : 0, std::max(options.requestsPerWorker, 1U)};
}

} // namespace

struct MediaWorkers::Pools {
    MediaWorkersOptions options;
    WorkerPool shared;
    WorkerPool isolated;

    explicit Pools(const MediaWorkersOptions &wanted)
        : options(wanted), shared(poolSettings(wanted, WorkerProcess::Mode::shared)),
          isolated(poolSettings(wanted, WorkerProcess::Mode::isolated)) {}

    struct Attempt {
        Result<WorkerAnswer> answer; ///< What a worker answers, which may be that it can't.
        bool crashed = false;        ///< The worker did.
    };
    Attempt attempt(WorkerPool &pool, const WorkerRequest &request, std::span<const int> descriptors);
    /// Whether a sound picture is decoded.
    bool decodesOthers(WorkerPool &pool);

    Result<WorkerAnswer> run(WorkerPool &pool, WorkerRequest request, std::span<const int> descriptors);
    Result<WorkerAnswer> runOnPicture(int picture, const WorkerRequest &request,
                                      std::span<const int> outputs);
    Result<WorkerAnswer> runOnPicture(WorkerRequest::Kind kind, int picture,
                                      std::span<const ThumbnailTarget> thumbnails);
};

Result<WorkerAnswer> MediaWorkers::Pools::run(WorkerPool &pool, WorkerRequest request,
                                              std::span<const int> descriptors) {
    request.processorMilliseconds = static_cast<std::uint32_t>(options.processorTime.count());
    const Attempt first = attempt(pool, request, descriptors);
    if (!first.crashed)
        return first.answer;
    emptyOutputs(descriptors.subspan(1));
    const Attempt second = attempt(pool, request, descriptors);
    if (!second.crashed || !decodesOthers(pool))
        return second.answer;
    return fail(ProblemKind::invalid, second.answer.error().text);
}

bool MediaWorkers::Pools::decodesOthers(WorkerPool &pool) {
    const UniqueFd picture(memfd_create("hoardd sound picture", MFD_CLOEXEC));
    if (!picture || !writeAll(picture.get(), std::as_bytes(std::span(soundPicture))))
        return false;
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::fingerprint;
    request.settings.maxSide = 2;
    request.processorMilliseconds = static_cast<std::uint32_t>(options.processorTime.count());
    const int descriptor = picture.get();
    return attempt(pool, request, std::span(&descriptor, 1)).answer.and_then(unlessRefused).has_value();
}

MediaWorkers::Pools::Attempt MediaWorkers::Pools::attempt(WorkerPool &pool, const WorkerRequest &request,
                                                          std::span<const int> descriptors) {
    for (;;) {
        Result<std::unique_ptr<WorkerProcess>> worker = pool.borrow();
        if (!worker)
            return {fail(ProblemKind::unreachable, worker.error().text)};
        WorkerAnswer answer;
        const auto exchange = (*worker)->exchange(request, descriptors, options.deadline, answer);
        const int signal = exchange == WorkerProcess::Exchange::died ? (*worker)->endingSignal() : 0;
        pool.giveBack(std::move(*worker));
        switch (exchange) {
        case WorkerProcess::Exchange::answered:
            return {answer};
        case WorkerProcess::Exchange::timedOut:
            return {fail(ProblemKind::failed, "the file takes more time than is allowed")};
        case WorkerProcess::Exchange::died:
            return {problemOfDeath(signal), isCrash(signal)};
        case WorkerProcess::Exchange::notDelivered:
            break; // It had died while it was idle. Each try uses one up, so this ends.
        }
    }
}

Result<WorkerAnswer> MediaWorkers::Pools::runOnPicture(int picture, const WorkerRequest &request,
                                                       std::span<const int> outputs) {
    UniqueFd reopened;
    std::array<int, media::maxDescriptors> descriptors{readOnly(picture, reopened)};
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t length = pread(descriptors[0], start.data(), start.size(), 0);
    if (length < 0)
        return errno == ESPIPE ? Result<WorkerAnswer>(fail(ProblemKind::invalid, "the picture is not a file"))
                               : Result<WorkerAnswer>(failSystem("read", "the picture"));
    const MediaFormat format = mediaFormatOf(std::span(start).first(static_cast<std::size_t>(length)));
    if (format == MediaFormat::unknown)
        return fail(ProblemKind::invalid, "the file is not a picture of a known format");
    std::ranges::copy(outputs, descriptors.begin() + 1);
    return run(isRisky(format) ? isolated : shared, request,
               std::span(descriptors).first(1 + outputs.size()));
}

Result<WorkerAnswer> MediaWorkers::Pools::runOnPicture(WorkerRequest::Kind kind, int picture,
                                                       std::span<const ThumbnailTarget> thumbnails) {
    WorkerRequest request;
    request.kind = kind;
    std::array<int, media::maxThumbnails> outputs{};
    if (thumbnails.size() > outputs.size())
        return fail(ProblemKind::invalid, "too many thumbnails are asked for at once");
    for (const ThumbnailTarget &thumbnail : thumbnails) {
        if (thumbnail.maxSide == 0 || thumbnail.maxSide > pictureLimits.side)
            return fail(ProblemKind::invalid, "a thumbnail has an impossible size");
        outputs[request.thumbnailCount] = thumbnail.output;
        request.thumbnailSides[request.thumbnailCount++] = thumbnail.maxSide;
    }
    return runOnPicture(picture, request, std::span(outputs).first(thumbnails.size()));
}

MediaWorkers::MediaWorkers(MediaWorkersOptions options) : pools(std::make_unique<Pools>(options)) {
}

MediaWorkers::~MediaWorkers() = default;

FirstLook MediaWorkers::examine(int picture, std::span<const ThumbnailTarget> thumbnails) {
    auto answer = pools->runOnPicture(WorkerRequest::Kind::examine, picture, thumbnails);
    // Its pixels may have been too much for the worker, and what it says of itself can still be read.
    if (!answer && answer.error().kind != ProblemKind::unreachable && !thumbnails.empty())
        answer = pools->runOnPicture(WorkerRequest::Kind::examine, picture, {});
    if (!answer)
        return {{}, QuickThumbnails::none, passOn(answer)};
    if (const auto ended = unlessRefused(*answer); !ended)
        return {plausibleFacts(answer->facts), QuickThumbnails::none, passOn(ended)};
    return {plausibleFacts(answer->facts), answer->thumbnails};
}

Result<PictureFacts> MediaWorkers::probe(int picture, std::span<const ThumbnailTarget> thumbnails) {
    return pools->runOnPicture(WorkerRequest::Kind::probe, picture, thumbnails)
        .and_then(unlessRefused)
        .map([](const WorkerAnswer &answer) { return plausibleFacts(answer.facts); });
}

Result<PictureFacts> MediaWorkers::readMetadata(int file) {
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::describe;
    UniqueFd reopened;
    const int descriptor = readOnly(file, reopened);
    return pools->run(pools->isolated, request, std::span(&descriptor, 1))
        .and_then(unlessRefused)
        .map([](const WorkerAnswer &answer) { return plausibleFacts(answer.facts); });
}

Result<std::optional<Fingerprint>> MediaWorkers::fingerprint(int picture, std::uint32_t maxSide) {
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::fingerprint;
    request.settings.maxSide = maxSide;
    return pools->runOnPicture(picture, request, {})
        .and_then(unlessRefused)
        .map([](const WorkerAnswer &answer) { return answer.fingerprint.asOptional(); });
}

namespace {

Result<> checkSettings(const ImageSettings &settings) {
    const bool isWritable = settings.format == MediaFormat::jpeg || settings.format == MediaFormat::png ||
                            settings.format == MediaFormat::webp;
    if (!isWritable || settings.quality < 1 || settings.quality > 100)
        return fail(ProblemKind::invalid, "images cannot be written with these settings");
    return {};
}

Result<> checkSurface(const SurfacePixels &surface) {
    const std::uint64_t pixelBytes = surface.format == SurfaceFormat::gray ? 1 : 4;
    const std::uint64_t pixels = std::uint64_t{surface.width} * surface.height;
    if (pixels == 0 || surface.width > pictureLimits.side || surface.height > pictureLimits.side ||
        surface.bytesPerRow < surface.width * pixelBytes || surface.bytesPerRow % pixelBytes != 0 ||
        surface.bytesPerRow > 2 * pictureLimits.side * pixelBytes)
        return fail(ProblemKind::invalid, "the surface has an impossible size");
    if (pixels > pictureLimits.pixels || surface.bytesPerRow * surface.height > pictureLimits.fileBytes)
        return fail(ProblemKind::invalid, "the surface has more pixels than are allowed");
    return {};
}

ImageSize sizeIn(const WorkerAnswer &answer) {
    return {plausibleSide(answer.facts.width), plausibleSide(answer.facts.height)};
}

} // namespace

Result<ImageSize> MediaWorkers::render(int picture, const ImageSettings &settings, int output) {
    if (const auto checked = checkSettings(settings); !checked)
        return passOn(checked);
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::render;
    request.settings = settings;
    return pools->runOnPicture(picture, request, std::span(&output, 1)).and_then(unlessRefused).map(sizeIn);
}

Result<ImageSize> MediaWorkers::encode(const SurfacePixels &surface, const ImageSettings &settings,
                                       int output) {
    if (const auto checked = checkSettings(settings); !checked)
        return passOn(checked);
    if (settings.maxSide != 0)
        return fail(ProblemKind::invalid, "a surface is written in its own size");
    if (const auto checked = checkSurface(surface); !checked)
        return passOn(checked);
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::encode;
    request.settings = settings;
    request.surface = surface;
    UniqueFd reopened;
    const std::array descriptors{readOnly(surface.memory, reopened), output};
    return pools->run(pools->shared, request, descriptors).and_then(unlessRefused).map(sizeIn);
}

Result<std::string> MediaWorkers::decoders() {
    Result<std::unique_ptr<WorkerProcess>> worker = pools->shared.borrow();
    if (!worker)
        return fail(ProblemKind::unreachable, worker.error().text);
    std::string found = printable((*worker)->hello().decoders);
    pools->shared.giveBack(std::move(*worker));
    return found;
}

Result<> MediaWorkers::testConfinement() {
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::selfTest;
    const auto answer = pools->run(pools->shared, request, {}).and_then(unlessRefused);
    if (!answer)
        return passOn(answer);
    return {};
}

MediaWorkersStatus MediaWorkers::status() const {
    const WorkerPool::Status shared = pools->shared.status();
    const WorkerPool::Status isolated = pools->isolated.status();
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

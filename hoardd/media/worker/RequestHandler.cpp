#include "hoardd/media/worker/RequestHandler.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string_view>

#include "hoardd/media/Fingerprint.h"
#include "hoardd/media/worker/Confinement.h"
#include "hoardd/media/worker/MappedFile.h"
#include "hoardd/media/worker/Metadata.h"
#include "hoardd/media/worker/PictureFile.h"
#include "hoardd/media/worker/PictureWriter.h"
#include "hoardd/media/worker/VideoReader.h"

namespace wickerlane::hoardd::media {

namespace {

using Kind = WorkerRequest::Kind;

constexpr std::uint32_t thumbnailQuality = 85;

// Of what is done here with the libraries: to be raised whenever files may be read that were refused before.
constexpr int readerVersion = 1;

// Its first bytes tell: a video may be far larger than what is mapped of a picture.
bool isVideo(int descriptor) {
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t count = pread(descriptor, start.data(), start.size(), 0);
    return count > 0 &&
           mediaFormatOf(std::span(start).first(static_cast<std::size_t>(count))) == MediaFormat::video;
}

// Each is made from the next larger one; `first` makes the largest, of the size that it is given. A picture
// that is small enough for several is encoded once.
template <class First>
void writeThumbnails(const WorkerRequest &request, std::span<const UniqueFd> descriptors,
                     const First &first) {
    std::vector<std::uint32_t> largestFirst(request.thumbnailCount);
    std::iota(largestFirst.begin(), largestFirst.end(), 0U);
    std::ranges::sort(largestFirst, std::greater(),
                      [&](auto index) { return request.thumbnailSides[index]; });
    Image image;
    int written = -1;
    for (const std::uint32_t index : largestFirst) {
        const std::uint32_t side = request.thumbnailSides[index];
        const int output = descriptors[1 + index].get();
        if (image && longerSide(image.get()) <= side) {
            copyWritten(written, output);
        } else {
            image = image ? shrunk(image.get(), side) : first(side);
            writePicture(image.get(), output, MediaFormat::jpeg, thumbnailQuality, false);
        }
        written = output;
    }
}

void probeVideo(const WorkerRequest &request, std::span<const UniqueFd> descriptors, WorkerAnswer &answer) {
    VideoReader reader(descriptors[0].get());
    answer.facts.format = MediaFormat::video;
    reader.readFacts(answer.facts);
    writeThumbnails(request, descriptors,
                    [&](std::uint32_t side) { return shrunk(reader.poster().get(), side); });
}

// What takes no longer to decode than a preview.
bool isSmall(const PictureFacts &facts) {
    constexpr std::uint64_t maxPixels = 1'000'000;
    return facts.format != MediaFormat::raw && std::uint64_t{facts.width} * facts.height <= maxPixels;
}

// Of a video, the facts alone: none carries a preview.
void examine(const WorkerRequest &request, std::span<const UniqueFd> descriptors, WorkerAnswer &answer) {
    if (isVideo(descriptors[0].get())) {
        WorkerRequest factsOnly = request;
        factsOnly.thumbnailCount = 0;
        return probeVideo(factsOnly, descriptors, answer);
    }
    PictureFile file(descriptors[0].get());
    answer.facts = file.facts();
    const PictureReader &reader = file.open(0);
    answer.facts = file.facts();
    const auto sides = std::span(request.thumbnailSides).first(request.thumbnailCount);
    if (sides.empty())
        return;
    try {
        if (isSmall(answer.facts)) {
            writeThumbnails(request, descriptors, [&](std::uint32_t side) {
                return reader.thumbnail(side, answer.facts.orientation);
            });
            answer.thumbnails = QuickThumbnails::ofPicture;
            return;
        }
        // One that suits the smallest is quickest to decode; the real thumbnails follow.
        const Image preview = file.previewThumbnail(*std::ranges::min_element(sides));
        if (!preview)
            return;
        writeThumbnails(request, descriptors,
                        [&](std::uint32_t side) { return shrunk(preview.get(), side); });
        answer.thumbnails = QuickThumbnails::ofPreview;
    } catch (const std::exception &) {
        // A preview that is of no use is as good as none, and of a picture the real thumbnails will tell.
    }
}

void probe(const WorkerRequest &request, std::span<const UniqueFd> descriptors, WorkerAnswer &answer) {
    if (isVideo(descriptors[0].get()))
        return probeVideo(request, descriptors, answer);
    PictureFile file(descriptors[0].get());
    answer.facts = file.facts();
    const auto sides = std::span(request.thumbnailSides).first(request.thumbnailCount);
    const PictureReader &reader = file.open(sides.empty() ? 0 : *std::ranges::max_element(sides));
    answer.facts = file.facts();
    writeThumbnails(request, descriptors,
                    [&](std::uint32_t side) { return reader.thumbnail(side, file.facts().orientation); });
}

void describe(std::span<const UniqueFd> descriptors, WorkerAnswer &answer) {
    const MappedFile file(descriptors[0].get());
    Metadata(file.bytes()).fill(answer.facts);
}

void fingerprint(const WorkerRequest &request, std::span<const UniqueFd> descriptors, WorkerAnswer &answer) {
    PictureFile file(descriptors[0].get());
    answer.facts = file.facts();
    const std::uint32_t maxSide = request.settings.maxSide;
    const PictureReader &reader = file.open(maxSide);
    answer.facts = file.facts();
    const Image image = reader.thumbnail(maxSide, file.facts().orientation);
    const auto width = static_cast<std::uint32_t>(vips_image_get_width(image.get()));
    const auto height = static_cast<std::uint32_t>(vips_image_get_height(image.get()));
    const auto channels = static_cast<std::uint32_t>(vips_image_get_bands(image.get()));
    const auto *pixels = static_cast<const std::uint8_t *>(vips_image_get_data(image.get()));
    if (pixels == nullptr || vips_image_get_format(image.get()) != VIPS_FORMAT_UCHAR ||
        (channels != 1 && channels != 3))
        throw MediaError(MediaFailure::damaged, "the picture has unusual colours");
    answer.fingerprint =
        fingerprintOf({{pixels, std::size_t{width} * height * channels}, width, height, channels});
}

void writeRendered(const WorkerRequest &request, VipsImage *image, int output, WorkerAnswer &answer) {
    writePicture(image, output, request.settings.format, request.settings.quality, true);
    answer.facts.format = request.settings.format;
    answer.facts.width = static_cast<std::uint32_t>(vips_image_get_width(image));
    answer.facts.height = static_cast<std::uint32_t>(vips_image_get_height(image));
}

void render(const WorkerRequest &request, std::span<const UniqueFd> descriptors, WorkerAnswer &answer) {
    if (isVideo(descriptors[0].get())) {
        const Image frame = VideoReader(descriptors[0].get()).poster();
        const Image image =
            request.settings.maxSide != 0 ? shrunk(frame.get(), request.settings.maxSide) : Image(nullptr);
        return writeRendered(request, image ? image.get() : frame.get(), descriptors[1].get(), answer);
    }
    PictureFile file(descriptors[0].get());
    answer.facts = file.facts();
    const PictureReader &reader = file.open(request.settings.maxSide);
    answer.facts = file.facts();
    const Image image = reader.picture(request.settings.maxSide, file.facts().orientation);
    writeRendered(request, image.get(), descriptors[1].get(), answer);
}

void encode(const WorkerRequest &request, std::span<const UniqueFd> descriptors, WorkerAnswer &answer) {
    const SurfacePixels &surface = request.surface;
    const MappedFile pixels(descriptors[0].get());
    if (pixels.bytes().size() / surface.bytesPerRow < surface.height)
        throw MediaError(MediaFailure::badRequest, "the memory is smaller than the surface says");
    const Image image = imageOfSurface(pixels.bytes().data(), surface);
    writePicture(image.get(), descriptors[1].get(), request.settings.format, request.settings.quality, false);
    answer.facts.format = request.settings.format;
    answer.facts.width = surface.width;
    answer.facts.height = surface.height;
}

void handleOrThrow(const WorkerRequest &request, std::span<const UniqueFd> descriptors,
                   WorkerAnswer &answer) {
    const bool probes = request.kind == Kind::probe || request.kind == Kind::examine;
    const std::size_t expected = request.kind == Kind::selfTest      ? 0
                                 : request.kind == Kind::fingerprint ? 1
                                 : request.kind == Kind::describe    ? 1
                                 : probes                            ? 1 + request.thumbnailCount
                                                                     : 2;
    if (request.thumbnailCount > maxThumbnails || descriptors.size() != expected)
        throw MediaError(MediaFailure::badRequest, "the request has the wrong descriptors");
    switch (request.kind) {
    case Kind::describe:
        return describe(descriptors, answer);
    case Kind::examine:
        return examine(request, descriptors, answer);
    case Kind::probe:
        return probe(request, descriptors, answer);
    case Kind::fingerprint:
        return fingerprint(request, descriptors, answer);
    case Kind::render:
        return render(request, descriptors, answer);
    case Kind::encode:
        return encode(request, descriptors, answer);
    case Kind::selfTest:
        if (const auto held = testOwnConfinement(); !held)
            throw MediaError(MediaFailure::notConfined, held.error().text);
        return;
    }
    throw MediaError(MediaFailure::badRequest, "the request is unknown");
}

std::string tooMuchMemory(const PictureFacts &facts) {
    const std::uint64_t pixels = std::uint64_t{facts.width} * facts.height;
    constexpr std::uint64_t million = 1'000'000;
    if (pixels < million)
        return "the picture takes more memory than is allowed";
    return std::to_string(pixels / million) + " megapixels are more than memory allows";
}

void fail(WorkerAnswer &answer, MediaFailure failure, std::string_view reason) {
    answer.failure = failure;
    answer.reason = reason;
}

// A service manager may forbid memory that can be written and executed.
bool mayMakeCode() {
    void *page = mmap(nullptr, 1, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return page != MAP_FAILED && munmap(page, 1) == 0;
}

} // namespace

bool prepareHandling(const char *program) {
    // Images are kept in memory, whose limit they then meet: there is no disk to spill to.
    setenv("VIPS_DISC_THRESHOLD", "1024g", 1);
    setenv("VIPS_WARNING", "1", 1);
    setenv("VIPS_BLOCK_UNTRUSTED", "1", 1);
    if (!mayMakeCode()) // the compiler for vectors would end the process
        setenv("VIPS_NOVECTOR", "1", 1);
    if (VIPS_INIT(program) != 0)
        return false;
    vips_block_untrusted_set(TRUE);
    // Each of their files has a worker of its own.
    vips_operation_block_set("VipsForeignLoadJxl", FALSE);
    vips_operation_block_set("VipsForeignLoadJp2k", FALSE);
    vips_concurrency_set(1); // the pool has a worker for each processor
    vips_cache_set_max(0);
    prepareMetadata();
    prepareVideos();
    return true;
}

std::string decoderVersions() {
    std::string text = "reader " + std::to_string(readerVersion) + ", vips " + vips_version_string() +
                       ", exiv2 " + metadataLibraryVersion() + ", av " + videoLibraryVersion() + ", formats";
    for (const char *loader : {"jpegload", "pngload", "webpload", "gifload", "tiffload", "heifload"})
        if (vips_type_find("VipsOperation", loader) != 0)
            text.append(" ").append(loader, std::strlen(loader) - std::strlen("load"));
    return text;
}

WorkerAnswer handle(const WorkerRequest &request, std::span<const UniqueFd> descriptors) {
    WorkerAnswer answer;
    try {
        handleOrThrow(request, descriptors, answer);
    } catch (const MediaError &error) {
        const std::string_view reason = error.what();
        const bool isOfFile =
            error.failure == MediaFailure::damaged || error.failure == MediaFailure::noDecoder;
        if (isOfFile && answer.facts.isCutOff != 0)
            fail(answer, error.failure, endsTooEarly);
        else
            fail(answer, error.failure, reason.empty() ? tooMuchMemory(answer.facts) : std::string(reason));
    } catch (const std::bad_alloc &) {
        fail(answer, MediaFailure::tooLarge, tooMuchMemory(answer.facts));
    } catch (const std::exception &) {
        fail(answer, MediaFailure::damaged, "the file can't be read");
    }
    return answer;
}

} // namespace wickerlane::hoardd::media

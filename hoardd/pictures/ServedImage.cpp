#include "hoardd/pictures/ServedImage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "hoardd/pictures/Renditions.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/protocol/ImageDataFormats.h"

namespace wickerlane::hoardd {

using store::ThumbnailSize;

namespace {

/// What fits a message with room for the rest of it. Larger originals are read through their descriptor.
constexpr std::uint64_t mostLentBytes = 255ULL << 20;

/// Below this a copy is cheaper than a mapping.
constexpr std::uint64_t leastMappedBytes = 64 << 10;

ServedImage failed(const std::string &problem) {
    return {nullptr, problem};
}

ServedImage failedReading(const std::string &path) {
    return failed("can't read " + path + ": " + std::strerror(errno));
}

ServedImage lendFile(const std::string &path) {
    const UniqueFd file = openFile(path, O_RDONLY);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return failedReading(path);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > mostLentBytes)
        return failed("the original is too large for a message; open its file instead");
    if (size < leastMappedBytes) {
        std::array<std::byte, leastMappedBytes> bytes; // NOLINT(*-member-init): read before it is used
        const ssize_t count = ::pread(file.get(), bytes.data(), size, 0);
        if (count != static_cast<ssize_t>(size))
            return failedReading(path);
        return {MessageData::create(bytes.data(), size), {}};
    }
    void *mapped = ::mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, file.get(), 0);
    if (mapped == MAP_FAILED)
        return failedReading(path);
    return {MessageData::createWithRegion(mapped, size, WorkQueue::global(),
                                          [mapped, size] { ::munmap(mapped, size); }),
            {}};
}

ServedImage render(Library &library, const std::string &path, const ImageSettings &settings) {
    const UniqueFd original = openFile(path, O_RDONLY);
    if (!original)
        return failedReading(path);
    UniqueFd output(::memfd_create("hoardd rendition", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!output)
        return failed(std::string("no memory for the image: ") + std::strerror(errno));
    const ImageResult rendered = library.media().render(original.get(), settings, output.get());
    if (!rendered.succeeded())
        return failed(rendered.reason);
    // Sealed against writing as well, it is taken over without a copy.
    ::fcntl(output.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    const auto memory = SharedMemory::open(std::move(output), SIZE_MAX);
    const auto value = memory ? MessageSharedMemory::create(memory.get()) : nullptr;
    return value ? ServedImage{value, {}} : failed("no memory for the image");
}

ServedImage thumbnail(Library &library, const store::ManagedAsset &asset, ThumbnailSize size) {
    if (asset.record().thumbnailIndex != 0)
        if (ServedImage kept = lendFile(library.paths().thumbnail(asset.record().uuid, size)); kept.value)
            return kept;
    const std::string rendition = Renditions(library).pathOf(asset.record());
    return render(library, rendition.empty() ? library.paths().original(asset.record()) : rendition,
                  {.format = MediaFormat::jpeg, .maxSide = store::maxSideOf(size)});
}

} // namespace

ServedImage imageOf(Library &library, const store::ManagedAsset &asset, std::uint64_t format) {
    switch (format) {
    case protocol::imageDataOriginal:
        return lendFile(library.paths().original(asset.record()));
    case protocol::imageDataSmallJPEG:
        return thumbnail(library, asset, ThumbnailSize::small);
    case protocol::imageDataPreviewJPEG:
        return thumbnail(library, asset, ThumbnailSize::preview);
    case protocol::imageDataFullSizeJPEG:
        return render(library, library.paths().original(asset.record()), {.format = MediaFormat::jpeg});
    case protocol::imageDataFullSizePNG:
        return render(library, library.paths().original(asset.record()), {.format = MediaFormat::png});
    }
    return failed("there is no image format " + std::to_string(format));
}

} // namespace wickerlane::hoardd

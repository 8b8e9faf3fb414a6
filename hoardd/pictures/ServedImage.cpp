#include "hoardd/pictures/ServedImage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "hoardd/pictures/PictureProblem.h"
#include "hoardd/pictures/ShownPicture.h"
#include "hoardd/pictures/Thumbnails.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/ImageDataFormats.h"

namespace wickerlane::hoardd {

using store::ThumbnailSize;

namespace {

using Image = Result<Ref<MessageValue>>;

/// What fits a message with room for the rest of it. Larger originals are read through their descriptor.
constexpr std::uint64_t maxLentBytes = 255ULL << 20;

/// Below this a copy is cheaper.
constexpr std::uint64_t minLentBytes = 64 << 10;

/// Has the system read a file, here and there with an eye on errors: a client that met one when it reads the
/// file would take the connection for broken. False, with errno, when it can't be read.
bool readAhead(int file, std::uint64_t size) {
    constexpr std::uint64_t stride = 256 << 10;
    ::posix_fadvise(file, 0, 0, POSIX_FADV_WILLNEED);
    std::byte read{};
    for (std::uint64_t at = 0; at < size; at += stride)
        if (::pread(file, &read, 1, static_cast<off_t>(at)) != 1)
            return false;
    return true;
}

Image lendFile(const std::string &path) {
    UniqueFd file = openFile(path, O_RDONLY);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return failSystem("read", path);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > maxLentBytes)
        return fail(ProblemKind::failed, "the original is too large for a message; open its file instead",
                    path);
    if (size < minLentBytes) {
        std::array<std::byte, minLentBytes> bytes; // NOLINT(*-member-init): read before it is used
        const ssize_t count = ::pread(file.get(), bytes.data(), size, 0);
        if (count != static_cast<ssize_t>(size))
            return failSystem("read", path);
        return MessageData::create(bytes.data(), size);
    }
    if (!readAhead(file.get(), size))
        return failSystem("read", path);
    return MessageData::createWithFile(std::move(file), size);
}

Image render(Library &library, const std::string &path, const ImageSettings &settings) {
    const UniqueFd original = openFile(path, O_RDONLY);
    if (!original)
        return failSystem("read", path);
    UniqueFd output(::memfd_create("hoardd rendition", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!output)
        return failSystem("make", "memory for the image");
    const auto rendered = library.media().render(original.get(), settings, output.get());
    if (!rendered)
        return fail(pictureProblem(rendered.error(), path));
    // Sealed against writing as well, it is taken over without a copy.
    ::fcntl(output.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    const auto memory = SharedMemory::open(std::move(output), SIZE_MAX);
    const auto value = memory ? MessageSharedMemory::create(memory.get()) : nullptr;
    if (!value)
        return fail(ProblemKind::failed, "no memory for the image");
    return value;
}

/// The edited rendition if there is one, else the original.
Image renderShown(Library &library, const AssetRecord &asset, const ImageSettings &settings) {
    const auto picture = shownPicturePath(library, asset);
    if (!picture)
        return passOn(picture);
    return render(library, *picture, settings);
}

Image thumbnail(Library &library, const AssetRecord &asset, ThumbnailSize size) {
    if (asset.thumbnailIndex != 0) {
        const std::string path = library.paths().thumbnail(asset.uuid, size);
        if (auto kept = lendFile(path))
            return kept;
        // One that was given up is kept again.
        const bool isLate =
            store::thumbnailKinds[static_cast<std::size_t>(size)].making == store::ThumbnailMaking::late;
        if (isLate ? makeLateThumbnails(library, asset) : makeThumbnails(library, asset, {}))
            if (auto kept = lendFile(path))
                return kept;
    }
    return renderShown(library, asset, {.format = MediaFormat::jpeg, .maxSide = store::maxSideOf(size)});
}

} // namespace

Result<Ref<MessageValue>> imageOf(Library &library, const AssetRecord &asset, std::uint64_t format) {
    switch (format) {
    case protocol::imageDataOriginal:
        return lendFile(library.paths().original(asset));
    case protocol::imageDataSmallJPEG:
        return thumbnail(library, asset, ThumbnailSize::small);
    case protocol::imageDataPreviewJPEG:
        return thumbnail(library, asset, ThumbnailSize::preview);
    case protocol::imageDataLargeJPEG:
        return thumbnail(library, asset, ThumbnailSize::large);
    case protocol::imageDataFullSizeJPEG:
        return renderShown(library, asset, {.format = MediaFormat::jpeg});
    case protocol::imageDataFullSizePNG:
        return renderShown(library, asset, {.format = MediaFormat::png});
    }
    return fail(ProblemKind::invalid, "there is no image format " + std::to_string(format));
}

} // namespace wickerlane::hoardd

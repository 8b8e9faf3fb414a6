#include "hoardd/media/worker/PngLines.h"

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace wickerlane::hoardd::media {

namespace {

using File = std::span<const std::byte>;

// Places in a file, whose header is always its first chunk.
constexpr std::size_t signatureBytes = 8, widthPlace = 16, depthPlace = 24, coloursPlace = 25,
                      interlacePlace = 28, headerEnd = 33;
constexpr std::size_t chunkBytes = 12; // without a chunk's data

std::uint32_t bigEndian(File file, std::size_t at) {
    std::uint32_t value = 0;
    for (const std::byte each : file.subspan(at, 4))
        value = value << 8 | std::to_integer<std::uint32_t>(each);
    return value;
}

/// With the byte before the pixels that says how they are filtered.
std::size_t firstLineBytes(File png) {
    constexpr std::uint32_t firstPassStep = 8;
    const bool isInterlaced = png[interlacePlace] != std::byte{0};
    const std::size_t width = bigEndian(png, widthPlace);
    const std::size_t pixels = isInterlaced ? (width + firstPassStep - 1) / firstPassStep : width;
    // Grey, colour, a palette; with alpha, grey or colour.
    constexpr std::size_t channels[] = {1, 0, 3, 1, 2, 0, 4};
    const auto colours = std::to_integer<std::size_t>(png[coloursPlace]);
    const std::size_t bits = (colours < std::size(channels) ? channels[colours] : 0) *
                             std::to_integer<std::size_t>(png[depthPlace]);
    return 1 + (pixels * bits + 7) / 8;
}

} // namespace

bool holdsFirstLine(File png) {
    if (png.size() < headerEnd)
        return false;
    std::vector<Bytef> line(firstLineBytes(png));
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        return false;
    stream.next_out = line.data();
    stream.avail_out = static_cast<uInt>(line.size());
    constexpr std::uint32_t pixels = 0x49444154; // "IDAT"
    int state = Z_OK;
    for (std::size_t at = signatureBytes;
         state == Z_OK && stream.avail_out > 0 && at + chunkBytes <= png.size();) {
        const std::size_t length = bigEndian(png, at);
        if (bigEndian(png, at + 4) == pixels) {
            const File data = png.subspan(at + 8, std::min(length, png.size() - at - 8));
            stream.next_in = const_cast<Bytef *>(reinterpret_cast<const Bytef *>(data.data()));
            stream.avail_in = static_cast<uInt>(data.size());
            if (!data.empty())
                state = inflate(&stream, Z_SYNC_FLUSH);
        }
        at += chunkBytes + length;
    }
    inflateEnd(&stream);
    return stream.avail_out == 0;
}

} // namespace wickerlane::hoardd::media

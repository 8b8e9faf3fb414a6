#include "cli/view/TurnedJPEG.h"

#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <memory>

namespace wickerlane::cli::view {
namespace {

constexpr std::size_t maxPixels = 120'000'000;
constexpr int quality = 95;

using TurboJPEG = std::unique_ptr<void, decltype([](void *handle) { tjDestroy(handle); })>;
using JPEGBuffer = std::unique_ptr<unsigned char, decltype([](unsigned char *bytes) { tjFree(bytes); })>;

const unsigned char *start(Bytes bytes) {
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

/// Empty when it can't be done so.
std::vector<std::byte> turnedWithoutLoss(Bytes picture, int quarters) {
    const TurboJPEG handle(tjInitTransform());
    constexpr std::array operations = {TJXOP_ROT90, TJXOP_ROT180, TJXOP_ROT270};
    tjtransform transform{};
    transform.op = operations.at(static_cast<std::size_t>(quarters - 1));
    transform.options = TJXOPT_PERFECT;
    unsigned char *made = nullptr;
    unsigned long length = 0;
    const int failed =
        handle ? tjTransform(handle.get(), start(picture), picture.size(), 1, &made, &length, &transform, 0)
               : -1;
    const JPEGBuffer kept(made);
    if (failed != 0)
        return {};
    const auto *bytes = reinterpret_cast<const std::byte *>(made);
    return {bytes, bytes + length};
}

struct Pixels {
    int width = 0, height = 0;
    std::vector<unsigned char> bytes; // red, green, blue
};

Pixels turned(const Pixels &from, int quarters) {
    Pixels to;
    to.width = quarters == 2 ? from.width : from.height;
    to.height = quarters == 2 ? from.height : from.width;
    to.bytes.resize(from.bytes.size());
    for (int y = 0; y < to.height; ++y)
        for (int x = 0; x < to.width; ++x) {
            const int fromX = quarters == 1 ? y : from.width - 1 - (quarters == 2 ? x : y);
            const int fromY = quarters == 3 ? x : from.height - 1 - (quarters == 2 ? y : x);
            const auto source = (static_cast<std::size_t>(fromY) * static_cast<std::size_t>(from.width) +
                                 static_cast<std::size_t>(fromX)) *
                                3;
            const auto target = (static_cast<std::size_t>(y) * static_cast<std::size_t>(to.width) +
                                 static_cast<std::size_t>(x)) *
                                3;
            std::copy_n(from.bytes.begin() + static_cast<std::ptrdiff_t>(source), 3,
                        to.bytes.begin() + static_cast<std::ptrdiff_t>(target));
        }
    return to;
}

/// The segments of a JPEG file that hold no pixels: what it says of itself.
std::vector<std::byte> segmentsOf(Bytes picture) {
    std::vector<std::byte> segments;
    std::size_t at = 2;
    const auto byteAt = [&](std::size_t i) { return std::to_integer<unsigned>(picture[i]); };
    while (at + 4 <= picture.size() && byteAt(at) == 0xFF) {
        const unsigned marker = byteAt(at + 1);
        const std::size_t length = 2 + (byteAt(at + 2) << 8U | byteAt(at + 3));
        if (marker == 0xDA || length < 4 || length > picture.size() - at)
            break;
        if (marker >= 0xE1 && marker <= 0xEF && marker != 0xEE) // APP0 and APP14 are about the coding
            segments.insert(segments.end(), picture.begin() + static_cast<std::ptrdiff_t>(at),
                            picture.begin() + static_cast<std::ptrdiff_t>(at + length));
        at += length;
    }
    return segments;
}

Result<Pixels> decoded(Bytes picture, int &subsampling) {
    const TurboJPEG handle(tjInitDecompress());
    Pixels pixels;
    int colours = 0;
    if (!handle || tjDecompressHeader3(handle.get(), start(picture), picture.size(), &pixels.width,
                                       &pixels.height, &subsampling, &colours) != 0)
        return fail(ProblemKind::failed, "the picture can't be decoded");
    const std::size_t count =
        static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height);
    if (count > maxPixels)
        return fail(ProblemKind::failed, "the picture has too many pixels to be turned here");
    pixels.bytes.resize(count * 3);
    if (tjDecompress2(handle.get(), start(picture), picture.size(), pixels.bytes.data(), pixels.width, 0,
                      pixels.height, TJPF_RGB, TJFLAG_ACCURATEDCT) != 0 &&
        tjGetErrorCode(handle.get()) == TJERR_FATAL)
        return fail(ProblemKind::failed, "the picture can't be decoded");
    return pixels;
}

Result<std::vector<std::byte>> turnedByPixels(Bytes picture, int quarters) {
    int subsampling = TJSAMP_420;
    const auto pixels = decoded(picture, subsampling);
    if (!pixels)
        return passOn(pixels);
    const Pixels result = turned(*pixels, quarters);
    const bool isKnown = subsampling == TJSAMP_444 || subsampling == TJSAMP_420 || subsampling == TJSAMP_GRAY;
    const TurboJPEG handle(tjInitCompress());
    unsigned char *made = nullptr;
    unsigned long length = 0;
    const int failed =
        handle ? tjCompress2(handle.get(), result.bytes.data(), result.width, 0, result.height, TJPF_RGB,
                             &made, &length, isKnown ? subsampling : TJSAMP_444, quality, TJFLAG_ACCURATEDCT)
               : -1;
    const JPEGBuffer kept(made);
    if (failed != 0 || length < 2)
        return fail(ProblemKind::failed, "the turned picture can't be encoded");
    const auto *bytes = reinterpret_cast<const std::byte *>(made);
    const auto segments = segmentsOf(picture);
    std::vector<std::byte> file(bytes, bytes + 2);
    file.insert(file.end(), segments.begin(), segments.end());
    file.insert(file.end(), bytes + 2, bytes + length);
    return file;
}

} // namespace

Result<std::vector<std::byte>> turnedJPEG(Bytes picture, int quarters) {
    auto turnedBytes = turnedWithoutLoss(picture, quarters);
    if (!turnedBytes.empty())
        return turnedBytes;
    return turnedByPixels(picture, quarters);
}

} // namespace wickerlane::cli::view

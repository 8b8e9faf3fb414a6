#include "hoardd/media/worker/CutOff.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <vector>

#include "hoardd/media/worker/JpegLayout.h"

namespace wickerlane::hoardd::media {

namespace {

using File = std::span<const std::byte>;

/// A number in a file; nothing when the file ends before it does.
std::optional<std::uint64_t> number(File file, std::uint64_t at, std::size_t bytes, bool isBigEndian = true) {
    if (at > file.size() || bytes > file.size() - at)
        return std::nullopt;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        value = value << 8 | std::to_integer<std::uint64_t>(file[at + (isBigEndian ? i : bytes - 1 - i)]);
    return value;
}

bool isJpegCutOff(File file) {
    const auto pixels = file.subspan(layoutOfJpeg(file).pixels);
    constexpr std::byte endMarker[] = {std::byte{0xFF}, std::byte{0xD9}};
    return std::find_end(pixels.begin(), pixels.end(), std::begin(endMarker), std::end(endMarker)) ==
           pixels.end();
}

bool isPngCutOff(File file) {
    constexpr std::uint64_t signatureBytes = 8, chunkBytes = 12, end = 0x49454E44; // "IEND"
    for (std::uint64_t at = signatureBytes; at + chunkBytes <= file.size();) {
        if (*number(file, at + 4, 4) == end)
            return false;
        at += chunkBytes + *number(file, at, 4);
    }
    return true;
}

bool isWebpCutOff(File file) {
    constexpr std::uint64_t headerBytes = 8;
    const auto length = number(file, 4, 4, false);
    return !length || headerBytes + *length > file.size();
}

/// The place after the blocks of data that begin at `at`; nothing when the file ends before.
std::optional<std::uint64_t> afterGifBlocks(File file, std::uint64_t at) {
    while (const auto length = number(file, at, 1)) {
        at += 1 + *length;
        if (*length == 0)
            return at;
    }
    return std::nullopt;
}

/// How many bytes the table of colours has that a byte of flags announces.
std::uint64_t gifColourBytes(std::uint64_t flags) {
    return (flags & 0x80) != 0 ? 3ULL << ((flags & 7) + 1) : 0;
}

// Many lack the mark at their end: a file that ends after a picture is whole.
bool isGifCutOff(File file) {
    constexpr std::uint64_t flagsPlace = 10, headerBytes = 13, imageBytes = 10;
    constexpr std::uint64_t extension = 0x21, image = 0x2C;
    const auto flags = number(file, flagsPlace, 1);
    if (!flags)
        return true;
    bool hasImage = false;
    std::uint64_t at = headerBytes + gifColourBytes(*flags);
    while (const auto block = number(file, at, 1)) {
        std::optional<std::uint64_t> after;
        if (*block == extension) {
            after = afterGifBlocks(file, at + 2);
        } else if (*block == image) {
            if (const auto own = number(file, at + imageBytes - 1, 1))
                after = afterGifBlocks(file, at + imageBytes + gifColourBytes(*own) + 1);
            hasImage = true;
        } else {
            return false; // its end, or what no decoder reads
        }
        if (!after)
            return true;
        at = *after;
    }
    return !hasImage || at > file.size();
}

/// The numbers of an entry of a TIFF directory; nothing when the file ends before they do, or when they are
/// of an unusual type.
class TiffDirectory {
public:
    TiffDirectory(File tiff, bool bigEndian) : file(tiff), isBigEndian(bigEndian) {}

    [[nodiscard]] std::optional<std::uint64_t> numberAt(std::uint64_t at, std::size_t bytes) const {
        return number(file, at, bytes, isBigEndian);
    }
    /// Whether the parts of the picture that two entries give by their places and lengths are there.
    [[nodiscard]] bool holdsParts(std::uint64_t places, std::uint64_t lengths) const {
        const auto starts = numbers(places), sizes = numbers(lengths);
        if (!starts || !sizes)
            return false;
        for (std::size_t i = 0; i < std::min(starts->size(), sizes->size()); ++i)
            if ((*starts)[i] + (*sizes)[i] > file.size())
                return false;
        return true;
    }

private:
    [[nodiscard]] std::optional<std::vector<std::uint64_t>> numbers(std::uint64_t entry) const {
        constexpr std::uint64_t shortType = 3, longType = 4, inlineBytes = 4;
        const auto type = numberAt(entry + 2, 2), count = numberAt(entry + 4, 4);
        if (!type || !count)
            return std::nullopt;
        if (*type != shortType && *type != longType)
            return std::vector<std::uint64_t>();
        const std::size_t bytes = *type == shortType ? 2 : 4;
        const auto place = *count * bytes <= inlineBytes ? entry + 8 : numberAt(entry + 8, 4);
        if (!place || *place + *count * bytes > file.size())
            return std::nullopt;
        std::vector<std::uint64_t> values;
        for (std::uint64_t i = 0; i < *count; ++i)
            values.push_back(*numberAt(*place + i * bytes, bytes));
        return values;
    }

    File file;
    bool isBigEndian;
};

// Of the first picture in it, which is the one that is shown.
bool isTiffCutOff(File file) {
    constexpr std::uint64_t plainVersion = 42, entryBytes = 12;
    constexpr std::uint64_t stripPlaces = 273, stripLengths = 279, tilePlaces = 324, tileLengths = 325;
    const TiffDirectory tiff(file, !file.empty() && file[0] == std::byte{'M'});
    if (tiff.numberAt(2, 2) != plainVersion)
        return false;
    const auto directory = tiff.numberAt(4, 4);
    const auto count = directory ? tiff.numberAt(*directory, 2) : std::nullopt;
    if (!count || *directory + 2 + *count * entryBytes > file.size())
        return true;
    std::uint64_t places = 0, lengths = 0; // where these entries are
    for (std::uint64_t i = 0; i < *count; ++i) {
        const std::uint64_t entry = *directory + 2 + i * entryBytes;
        const std::uint64_t tag = tiff.numberAt(entry, 2).value_or(0);
        if (tag == stripPlaces || tag == tilePlaces)
            places = entry;
        else if (tag == stripLengths || tag == tileLengths)
            lengths = entry;
    }
    return places != 0 && lengths != 0 && !tiff.holdsParts(places, lengths);
}

// A box gives its length, with its own header; 1 stands for a longer number behind, 0 for the rest of the
// file.
bool isHeifCutOff(File file) {
    constexpr std::uint64_t headerBytes = 8, longHeaderBytes = 16;
    std::uint64_t at = 0;
    while (at < file.size()) {
        auto length = number(file, at, 4);
        if (length == 0U)
            return false;
        const std::uint64_t least = length == 1U ? longHeaderBytes : headerBytes;
        if (length == 1U)
            length = number(file, at + headerBytes, 8);
        if (!length || *length > file.size() - at)
            return true;
        if (*length < least)
            return false; // nonsense, which decoders judge
        at += *length;
    }
    return false;
}

} // namespace

bool isCutOff(File file, MediaFormat format) {
    switch (format) {
    case MediaFormat::jpeg:
        return isJpegCutOff(file);
    case MediaFormat::png:
        return isPngCutOff(file);
    case MediaFormat::webp:
        return isWebpCutOff(file);
    case MediaFormat::gif:
        return isGifCutOff(file);
    case MediaFormat::tiff:
        return isTiffCutOff(file);
    case MediaFormat::heif:
    case MediaFormat::avif:
        return isHeifCutOff(file);
    default:
        return false;
    }
}

} // namespace wickerlane::hoardd::media

#include "hoardd/media/ImageFormat.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace wickerlane::hoardd {

namespace {

struct FormatNames {
    const char *name;
    const char *mediaType;
};

constexpr std::array<FormatNames, 10> names{{
    {"unknown", "application/octet-stream"},
    {"jpeg", "image/jpeg"},
    {"png", "image/png"},
    {"webp", "image/webp"},
    {"tiff", "image/tiff"},
    {"gif", "image/gif"},
    {"heif", "image/heif"},
    {"avif", "image/avif"},
    {"video", "video/mp4"},
    {"raw", "image/x-raw"},
}};

// A file of the ISO base media family lists its brands in a first box "ftyp": size, "ftyp", major brand,
// version, compatible brands.
ImageFormat formatOfBrands(std::string_view start) noexcept {
    const auto byteAt = [&](std::size_t index) {
        return std::size_t{static_cast<unsigned char>(start[index])};
    };
    const std::size_t boxSize = byteAt(0) << 24 | byteAt(1) << 16 | byteAt(2) << 8 | byteAt(3);
    ImageFormat found = ImageFormat::video;
    for (std::size_t at = 8; at + 4 <= std::min(boxSize, start.size()); at += 4) {
        if (at == 12) // the version
            continue;
        const std::string_view brand = start.substr(at, 4);
        if (brand == "avif" || brand == "avis")
            return ImageFormat::avif;
        if (brand == "crx ")
            return ImageFormat::raw;
        if (brand == "heic" || brand == "heix" || brand == "heim" || brand == "heis" || brand == "mif1")
            found = ImageFormat::heif;
    }
    return found;
}

} // namespace

ImageFormat imageFormatOf(std::span<const std::byte> bytes) noexcept {
    using namespace std::string_view_literals;
    const std::string_view start(reinterpret_cast<const char *>(bytes.data()),
                                 std::min(bytes.size(), imageFormatBytes));
    if (start.starts_with("\xFF\xD8\xFF"sv))
        return ImageFormat::jpeg;
    if (start.starts_with("\x89PNG\r\n\x1A\n"sv))
        return ImageFormat::png;
    if (start.starts_with("GIF87a"sv) || start.starts_with("GIF89a"sv))
        return ImageFormat::gif;
    // Raw files that do not begin as TIFF files do, or say after it that they are none.
    for (const std::string_view raw : {"FUJIFILMCCD-RAW"sv, "IIRO"sv, "IIRS"sv, "MMOR"sv, "IIU\0"sv,
                                       "\0MRM"sv, "II\x1A\0\0\0HEAPCCDR"sv, "II*\0\x10\0\0\0CR"sv})
        if (start.starts_with(raw))
            return ImageFormat::raw;
    if (start.starts_with("II*\0"sv) || start.starts_with("MM\0*"sv) || start.starts_with("II+\0"sv) ||
        start.starts_with("MM\0+"sv))
        return ImageFormat::tiff;
    if (start.size() < 16)
        return ImageFormat::unknown;
    if (start.starts_with("RIFF"sv) && start.substr(8, 4) == "WEBP"sv)
        return ImageFormat::webp;
    if (start.substr(4, 4) == "ftyp"sv)
        return formatOfBrands(start);
    // Of containers of videos alone: Matroska, AVI, QuickTime files of old, MPEG program streams.
    if (start.starts_with("\x1A\x45\xDF\xA3"sv) ||
        (start.starts_with("RIFF"sv) && start.substr(8, 4) == "AVI "sv) || start.substr(4, 4) == "moov"sv ||
        start.substr(4, 4) == "mdat"sv || start.starts_with("\0\0\1\xBA"sv))
        return ImageFormat::video;
    return ImageFormat::unknown;
}

const char *imageFormatName(ImageFormat format) noexcept {
    return names[static_cast<std::size_t>(format)].name;
}

const char *imageFormatMediaType(ImageFormat format) noexcept {
    return names[static_cast<std::size_t>(format)].mediaType;
}

bool imageFormatIsRisky(ImageFormat format) noexcept {
    return format == ImageFormat::tiff || format == ImageFormat::heif || format == ImageFormat::avif ||
           format == ImageFormat::video || format == ImageFormat::raw;
}

} // namespace wickerlane::hoardd

#include "wickerlane/model/MediaType.h"

#include <algorithm>

namespace wickerlane {

using namespace std::string_view_literals;

namespace {

constexpr auto photo = AssetKind::photo, video = AssetKind::video;

constexpr std::array<const char *, static_cast<std::size_t>(lastMediaFormat) + 1> formatNames{
    "unknown", "jpeg", "png", "webp", "tiff", "gif", "heif", "avif", "video", "raw", "bmp", "jxl", "jp2"};

// Files of the ISO base media family have no signatures here: their brands tell. Nor have transport streams.
constexpr MediaType types[] = {
    {.name = "image/jpeg",
     .format = MediaFormat::jpeg,
     .kind = photo,
     .extensions = {"JPG", "JPEG"},
     .signatures = {{{"\xFF\xD8\xFF"sv}}}},
    {.name = "image/png",
     .format = MediaFormat::png,
     .kind = photo,
     .extensions = {"PNG"},
     .signatures = {{{"\x89PNG\r\n\x1A\n"sv}}}},
    {.name = "image/gif",
     .format = MediaFormat::gif,
     .kind = photo,
     .extensions = {"GIF"},
     .signatures = {{{"GIF87a"sv}, {"GIF89a"sv}}}},
    // Before TIFF: some begin as TIFF files do and say further on that they are none.
    {.name = "image/x-raw",
     .format = MediaFormat::raw,
     .kind = photo,
     .extensions = {"RAW"},
     .signatures = {{{"FUJIFILMCCD-RAW"sv},
                     {"IIRO"sv},
                     {"IIRS"sv},
                     {"MMOR"sv},
                     {"IIU\0"sv},
                     {"\0MRM"sv},
                     {"II\x1A\0\0\0HEAPCCDR"sv},
                     {"II*\0\x10\0\0\0CR"sv}}}},
    {.name = "image/tiff",
     .format = MediaFormat::tiff,
     .kind = photo,
     .extensions = {"TIF", "TIFF"},
     .signatures = {{{"II*\0"sv}, {"MM\0*"sv}, {"II+\0"sv}, {"MM\0+"sv}}}},
    {.name = "image/webp",
     .format = MediaFormat::webp,
     .kind = photo,
     .extensions = {"WEBP"},
     .signatures = {{{"RIFF"sv, 8, "WEBP"sv}}}},
    {.name = "image/heif", .format = MediaFormat::heif, .kind = photo, .extensions = {"HEIC", "HEIF"}},
    {.name = "image/avif", .format = MediaFormat::avif, .kind = photo, .extensions = {"AVIF"}},
    {.name = "image/bmp",
     .format = MediaFormat::bmp,
     .kind = photo,
     .extensions = {"BMP", "DIB"},
     // By the sizes that the second header can have, since texts begin with these letters, too.
     .signatures = {{{"BM"sv, 14, "\x0C\0\0\0"sv},
                     {"BM"sv, 14, "\x28\0\0\0"sv},
                     {"BM"sv, 14, "\x34\0\0\0"sv},
                     {"BM"sv, 14, "\x38\0\0\0"sv},
                     {"BM"sv, 14, "\x40\0\0\0"sv},
                     {"BM"sv, 14, "\x6C\0\0\0"sv},
                     {"BM"sv, 14, "\x7C\0\0\0"sv}}}},
    {.name = "image/jxl",
     .format = MediaFormat::jxl,
     .kind = photo,
     .extensions = {"JXL"},
     .signatures = {{{"\xFF\x0A"sv}, {"\0\0\0\x0CJXL \r\n\x87\n"sv}}}},
    {.name = "image/jp2",
     .format = MediaFormat::jp2,
     .kind = photo,
     .extensions = {"JP2", "J2K", "J2C", "JPX"},
     .signatures = {{{"\0\0\0\x0CjP  \r\n\x87\n"sv}, {"\xFF\x4F\xFF\x51"sv}}}},
    {.name = "video/mp4", .format = MediaFormat::video, .kind = video, .extensions = {"MP4", "M4V"}},
    {.name = "video/quicktime", .format = MediaFormat::video, .kind = video, .extensions = {"MOV", "QT"}},
    {.name = "video/3gpp", .format = MediaFormat::video, .kind = video, .extensions = {"3GP", "3G2"}},
    // Before WebM, which begins in the same way.
    {.name = "video/x-matroska",
     .format = MediaFormat::video,
     .kind = video,
     .extensions = {"MKV"},
     .signatures = {{{"\x1A\x45\xDF\xA3"sv}}}},
    {.name = "video/webm", .format = MediaFormat::video, .kind = video, .extensions = {"WEBM"}},
    {.name = "video/x-msvideo",
     .format = MediaFormat::video,
     .kind = video,
     .extensions = {"AVI"},
     .signatures = {{{"RIFF"sv, 8, "AVI "sv}}}},
    {.name = "video/mpeg", .format = MediaFormat::video, .kind = video, .extensions = {"MPG", "MPEG", "VOB"}},
    {.name = "video/mp2t", .format = MediaFormat::video, .kind = video, .extensions = {"MTS", "M2TS"}},
    // Old QuickTime files and MPEG program streams can be decoded, but only a name tells their type.
    {.name = unknownMediaType,
     .format = MediaFormat::video,
     .kind = video,
     .signatures = {{{""sv, 4, "moov"sv}, {""sv, 4, "mdat"sv}, {"\0\0\1\xBA"sv}}}},
};

const MediaType *typeNamed(std::string_view name) noexcept {
    return std::ranges::find(types, name, &MediaType::name);
}

// A first box lists brands: its size, "ftyp", the major brand, a version, compatible brands.
const MediaType *typeOfBrands(std::string_view start) noexcept {
    const auto byteAt = [&](std::size_t index) {
        return std::size_t{static_cast<unsigned char>(start[index])};
    };
    const std::size_t boxSize = byteAt(0) << 24 | byteAt(1) << 16 | byteAt(2) << 8 | byteAt(3);
    const std::string_view major = start.substr(8, 4);
    const MediaType *found = typeNamed(major == "qt  "            ? "video/quicktime"
                                       : major.starts_with("3gp") ? "video/3gpp"
                                                                  : "video/mp4");
    for (std::size_t at = 8; at + 4 <= std::min(boxSize, start.size()); at += 4) {
        if (at == 12) // the version
            continue;
        const std::string_view brand = start.substr(at, 4);
        if (brand == "avif" || brand == "avis")
            return typeNamed("image/avif");
        if (brand == "crx ")
            return typeNamed("image/x-raw");
        if (brand == "heic" || brand == "heix" || brand == "heim" || brand == "heis" || brand == "mif1")
            found = typeNamed("image/heif");
    }
    return found;
}

bool matches(std::string_view start, const MediaSignature &signature) noexcept {
    const bool isEmpty = signature.start.empty() && signature.further.empty();
    return !isEmpty && start.starts_with(signature.start) && signature.offset <= start.size() &&
           start.substr(signature.offset).starts_with(signature.further);
}

/// A transport stream is made of packets of 188 bytes, each with a mark at its start; cameras put the time in
/// front of each.
bool isTransportStream(std::string_view start) noexcept {
    constexpr std::size_t packet = 188, stamped = packet + 4;
    const auto isMarked = [&](std::size_t first, std::size_t step) {
        return start.size() > first + 2 * step && start[first] == 'G' && start[first + step] == 'G' &&
               start[first + 2 * step] == 'G';
    };
    return isMarked(0, packet) || isMarked(4, stamped);
}

bool isSameExtension(std::string_view upperCase, std::string_view given) noexcept {
    return std::ranges::equal(upperCase, given, [](char upper, char other) {
        return upper == other || (other >= 'a' && other <= 'z' && upper == other - 'a' + 'A');
    });
}

} // namespace

const char *mediaFormatName(MediaFormat format) noexcept {
    return formatNames[static_cast<std::size_t>(format)];
}

std::string_view mediaTypeName(MediaFormat format) noexcept {
    return std::ranges::find(types, format, &MediaType::format)->name;
}

const MediaType *mediaTypeOfContent(std::span<const std::byte> bytes) noexcept {
    const std::string_view start(reinterpret_cast<const char *>(bytes.data()),
                                 std::min(bytes.size(), mediaTypeBytes));
    const auto *found = std::ranges::find_if(types, [&](const MediaType &type) {
        return std::ranges::any_of(type.signatures,
                                   [&](const MediaSignature &each) { return matches(start, each); });
    });
    if (found != std::end(types))
        return found;
    if (start.size() >= 12 && start.substr(4, 4) == "ftyp")
        return typeOfBrands(start);
    return isTransportStream(start) ? typeNamed("video/mp2t") : nullptr;
}

MediaFormat mediaFormatOf(std::span<const std::byte> start) noexcept {
    const MediaType *type = mediaTypeOfContent(start);
    return type != nullptr ? type->format : MediaFormat::unknown;
}

const MediaType *mediaTypeOfExtension(std::string_view extension) noexcept {
    if (extension.empty())
        return nullptr;
    const auto *found = std::ranges::find_if(types, [&](const MediaType &type) {
        return std::ranges::any_of(type.extensions,
                                   [&](std::string_view each) { return isSameExtension(each, extension); });
    });
    return found != std::end(types) ? found : nullptr;
}

} // namespace wickerlane

#include "wickerlane/model/MediaType.h"

#include <algorithm>

namespace wickerlane {

using namespace std::string_view_literals;

namespace {

constexpr auto photo = AssetKind::photo, video = AssetKind::video;

constexpr std::array<const char *, static_cast<std::size_t>(lastMediaFormat) + 1> formatNames{
    "unknown", "jpeg", "png", "webp", "tiff", "gif", "heif", "avif", "video", "raw"};

// Files of the ISO base media family have no signatures here: their brands tell.
constexpr MediaType types[] = {
    {.name = "image/jpeg",
     .format = MediaFormat::jpeg,
     .kind = photo,
     .extensions = {"JPG", "JPEG"},
     .isImported = true,
     .signatures = {{{"\xFF\xD8\xFF"sv}}}},
    {.name = "image/png",
     .format = MediaFormat::png,
     .kind = photo,
     .extensions = {"PNG"},
     .isImported = true,
     .signatures = {{{"\x89PNG\r\n\x1A\n"sv}}}},
    {.name = "image/gif",
     .format = MediaFormat::gif,
     .kind = photo,
     .extensions = {"GIF"},
     .isImported = true,
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
     .isImported = true,
     .signatures = {{{"II*\0"sv}, {"MM\0*"sv}, {"II+\0"sv}, {"MM\0+"sv}}}},
    {.name = "image/webp",
     .format = MediaFormat::webp,
     .kind = photo,
     .extensions = {"WEBP"},
     .isImported = true,
     .signatures = {{{"RIFF"sv, 8, "WEBP"sv}}}},
    {.name = "image/heif",
     .format = MediaFormat::heif,
     .kind = photo,
     .extensions = {"HEIC", "HEIF"},
     .isImported = true},
    {.name = "image/avif",
     .format = MediaFormat::avif,
     .kind = photo,
     .extensions = {"AVIF"},
     .isImported = true},
    {.name = "video/mp4",
     .format = MediaFormat::video,
     .kind = video,
     .extensions = {"MP4", "M4V"},
     .isImported = true},
    {.name = "video/quicktime",
     .format = MediaFormat::video,
     .kind = video,
     .extensions = {"MOV"},
     .isImported = true},
    {.name = "video/3gpp", .format = MediaFormat::video, .kind = video, .extensions = {"3GP"}},
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
    {.name = "video/mpeg", .format = MediaFormat::video, .kind = video, .extensions = {"MPG"}},
    {.name = "video/mp2t", .format = MediaFormat::video, .kind = video, .extensions = {"MTS"}},
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
    return start.size() >= 12 && start.substr(4, 4) == "ftyp" ? typeOfBrands(start) : nullptr;
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

#include "hoardd/saving/FileType.h"

#include <algorithm>

#include "wickerlane/store/ManagedAsset.h"

namespace wickerlane::hoardd {

using store::AssetKind;

namespace {

bool isLetterOrDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

std::string upperCase(std::string_view text) {
    std::string result(text);
    for (char &c : result)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return result;
}

const char *extensionFor(ImageFormat format) {
    switch (format) {
    case ImageFormat::jpeg:
        return "JPG";
    case ImageFormat::png:
        return "PNG";
    case ImageFormat::webp:
        return "WEBP";
    case ImageFormat::tiff:
        return "TIF";
    case ImageFormat::gif:
        return "GIF";
    case ImageFormat::heif:
        return "HEIC";
    case ImageFormat::avif:
        return "AVIF";
    case ImageFormat::raw:
        return "RAW";
    case ImageFormat::video:
    case ImageFormat::unknown:
        break;
    }
    return "DAT";
}

struct VideoType {
    const char *extension;
    const char *mediaType;
};

constexpr VideoType videoTypes[] = {
    {"MP4", "video/mp4"},        {"MOV", "video/quicktime"}, {"M4V", "video/mp4"},
    {"MKV", "video/x-matroska"}, {"WEBM", "video/webm"},     {"AVI", "video/x-msvideo"},
    {"3GP", "video/3gpp"},       {"MPG", "video/mpeg"},      {"MTS", "video/mp2t"},
};

const VideoType *videoTypeNamed(std::string_view extension) {
    const auto *found = std::ranges::find(videoTypes, extension, &VideoType::extension);
    return found != std::end(videoTypes) ? found : nullptr;
}

/// The video container that a file begins as; null when it is none.
const VideoType *videoTypeOf(std::string_view start) {
    if (start.size() >= 12 && start.substr(4, 4) == "ftyp")
        return videoTypeNamed(start.substr(8, 4) == "qt  "  ? "MOV"
                              : start.substr(8, 3) == "3gp" ? "3GP"
                                                            : "MP4");
    if (start.size() >= 12 && start.starts_with("RIFF") && start.substr(8, 4) == "AVI ")
        return videoTypeNamed("AVI");
    if (start.starts_with("\x1A\x45\xDF\xA3"))
        return videoTypeNamed("MKV");
    return nullptr;
}

} // namespace

bool isPlainExtension(std::string_view extension) {
    return !extension.empty() && extension.size() <= 16 && std::ranges::all_of(extension, isLetterOrDigit);
}

FileType fileTypeOf(Bytes start, std::string_view name) {
    const std::string_view given = store::extensionOf(name);
    const std::string extension = isPlainExtension(given) ? upperCase(given) : std::string();

    if (const ImageFormat format = imageFormatOf(start);
        format != ImageFormat::unknown && format != ImageFormat::video) {
        // Each maker has an extension for raw files, and many of them begin as TIFF files do.
        const bool keepsOwn =
            (format == ImageFormat::tiff || format == ImageFormat::raw) && !extension.empty();
        return {AssetKind::photo, imageFormatMediaType(format), keepsOwn ? extension : extensionFor(format)};
    }
    const VideoType *named = videoTypeNamed(extension);
    if (const VideoType *video = videoTypeOf({reinterpret_cast<const char *>(start.data()), start.size()}))
        return {AssetKind::video, video->mediaType, named != nullptr ? extension : video->extension};
    if (named != nullptr)
        return {AssetKind::video, named->mediaType, extension};
    return {AssetKind::photo, "application/octet-stream",
            extension.empty() ? extensionFor(ImageFormat::unknown) : extension};
}

} // namespace wickerlane::hoardd

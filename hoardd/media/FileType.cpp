#include "hoardd/media/FileType.h"

#include <unistd.h>

#include <algorithm>
#include <array>

#include "wickerlane/platform/object/Paths.h"

namespace wickerlane::hoardd {

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

FileType photoType(const MediaType &type, const std::string &extension) {
    // Each maker has an extension for raw files, and many of them begin as TIFF files do.
    const bool keepsOwn =
        (type.format == MediaFormat::tiff || type.format == MediaFormat::raw) && !extension.empty();
    return {AssetKind::photo, std::string(type.name),
            keepsOwn ? extension : std::string(type.extensions.front()), true};
}

} // namespace

bool isPlainExtension(std::string_view extension) {
    return !extension.empty() && extension.size() <= 16 && std::ranges::all_of(extension, isLetterOrDigit);
}

FileType fileTypeOf(std::span<const std::byte> start, std::string_view name) {
    const std::string_view given = pathExtension(name);
    const std::string extension = isPlainExtension(given) ? upperCase(given) : std::string();
    const MediaType *type = mediaTypeOfContent(start);
    if (type != nullptr && type->kind == AssetKind::photo)
        return photoType(*type, extension);

    const MediaType *named = mediaTypeOfExtension(extension);
    const bool isNamedAsVideo = named != nullptr && named->kind == AssetKind::video;
    if (type != nullptr && type->name != unknownMediaType)
        return {AssetKind::video, std::string(type->name),
                isNamedAsVideo ? extension : std::string(type->extensions.front()), true};
    if (isNamedAsVideo)
        return {AssetKind::video, std::string(named->name), extension, true};
    return {type != nullptr ? type->kind : AssetKind::photo, std::string(unknownMediaType),
            extension.empty() ? "DAT" : extension, type != nullptr || named != nullptr};
}

FileType fileTypeOf(int file, std::string_view name) {
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t count = ::pread(file, start.data(), start.size(), 0);
    return fileTypeOf(std::span(start).first(count > 0 ? static_cast<std::size_t>(count) : 0), name);
}

} // namespace wickerlane::hoardd

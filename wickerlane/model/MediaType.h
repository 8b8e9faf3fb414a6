// The kinds of media files that a library knows.
#ifndef WICKERLANE_MODEL_MEDIATYPE_H
#define WICKERLANE_MODEL_MEDIATYPE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "wickerlane/model/AssetKind.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Which decoder a file needs. All videos share one; raw files hold what a camera's sensor saw.
enum class MediaFormat : std::uint32_t {
    unknown,
    jpeg,
    png,
    webp,
    tiff,
    gif,
    heif,
    avif,
    video,
    raw,
    bmp,
    jxl,
    jp2
};

/// The last of the formats, for checking numbers that came from another process.
inline constexpr MediaFormat lastMediaFormat = MediaFormat::jp2;

/// A lower-case name such as "jpeg"; never null.
[[nodiscard]] WL_EXPORT const char *mediaFormatName(MediaFormat format) noexcept;

/// What a file of some type begins with: one text at its start, another further on. Either may be empty.
struct MediaSignature {
    std::string_view start{};
    std::size_t offset = 0; ///< Of `further`, from the file's start.
    std::string_view further{};
};

struct MediaType {
    std::string_view name{}; ///< "image/jpeg".
    MediaFormat format = MediaFormat::unknown;
    AssetKind kind = AssetKind::photo;
    /// Upper case; the first is the one that the library gives. Unused ones are empty.
    std::array<std::string_view, 4> extensions{};
    /// Empty where the content doesn't tell the type; unused ones are empty.
    std::array<MediaSignature, 8> signatures{};
};

/// The name of the type of files that are none of ours.
inline constexpr std::string_view unknownMediaType = "application/octet-stream";

/// The name of the first type with a format, which must not be `unknown`.
[[nodiscard]] WL_EXPORT std::string_view mediaTypeName(MediaFormat format) noexcept;

/// How many bytes from a file's start tell its type.
inline constexpr std::size_t mediaTypeBytes = 512;

/// The type of a file that begins with these bytes; null when it is none of ours. Of a video whose content
/// does not tell the container, the format is known, but not the name or an extension. Looks at nothing else,
/// so that it is safe with hostile files. A raw file that begins as a TIFF file does counts as one here.
[[nodiscard]] WL_EXPORT const MediaType *mediaTypeOfContent(std::span<const std::byte> start) noexcept;

/// The format alone, by content.
[[nodiscard]] WL_EXPORT MediaFormat mediaFormatOf(std::span<const std::byte> start) noexcept;

/// The type that has an extension, in either case of letters; null when none has.
[[nodiscard]] WL_EXPORT const MediaType *mediaTypeOfExtension(std::string_view extension) noexcept;

} // namespace wickerlane

#endif

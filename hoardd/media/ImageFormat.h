// The picture formats the media workers know, told by content.
#ifndef HOARDD_MEDIA_IMAGEFORMAT_H
#define HOARDD_MEDIA_IMAGEFORMAT_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace wickerlane::hoardd {

/// A video counts as a picture whose pixels are a frame of it; of a raw file, what a camera's sensor saw, as
/// one whose pixels are the preview that it carries.
enum class ImageFormat : std::uint32_t { unknown, jpeg, png, webp, tiff, gif, heif, avif, video, raw };

/// The last of the formats, for checking numbers that came from another process.
inline constexpr ImageFormat lastImageFormat = ImageFormat::raw;

/// How many bytes from a file's start imageFormatOf() looks at.
inline constexpr std::size_t imageFormatBytes = 64;

/// The format of a file that begins with these bytes; `unknown` when it is none of ours. Looks at nothing
/// else, so that it may be asked about hostile files outside a worker: a raw file that begins as a TIFF file
/// does counts as one here, and only a worker finds out.
ImageFormat imageFormatOf(std::span<const std::byte> start) noexcept;

/// A lower-case name such as "jpeg"; never null.
const char *imageFormatName(ImageFormat format) noexcept;

/// The media type, such as "image/jpeg"; never null.
const char *imageFormatMediaType(ImageFormat format) noexcept;

/// Whether decoders of the format have a record of faults: its files get a process of their own.
bool imageFormatIsRisky(ImageFormat format) noexcept;

} // namespace wickerlane::hoardd

#endif

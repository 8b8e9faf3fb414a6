// What is asked of the media workers, and what they answer.
#ifndef HOARDD_MEDIA_PICTURE_H
#define HOARDD_MEDIA_PICTURE_H

#include <cstdint>

#include "hoardd/media/PictureFacts.h"
#include "hoardd/media/PictureLimits.h"

namespace wickerlane::hoardd {

/// Why a worker could not do what was asked of it.
enum class MediaFailure : std::uint32_t {
    none,
    unknownFormat, ///< Not a picture of a known format.
    noDecoder,     ///< A known format that this machine has no decoder for.
    damaged,       ///< The decoder gave up on the file.
    tooLarge,      ///< Beyond a limit of pixels, bytes or memory.
    notConfined,   ///< The worker could do what its confinement must forbid.
    outputFailed,  ///< The result could not be written.
    badRequest,    ///< The request itself makes no sense.
    shortage,      ///< The machine lacked something for a moment; the file is not to blame.
};

/// A thumbnail to be made.
struct ThumbnailTarget {
    std::uint32_t maxSide = 0; ///< Pixels; a smaller picture is not enlarged.
    int output = -1;           ///< Open for writing, at the start of an empty file; stays the caller's.
};

/// What thumbnails were made of that are the work of a moment.
enum class QuickThumbnails : std::uint32_t {
    none,      ///< They were not made.
    ofPreview, ///< A preview that the file carries.
    ofPicture, ///< The picture itself, which is small.
};

/// What an image is to be written as.
struct ImageSettings {
    MediaFormat format = MediaFormat::jpeg; ///< JPEG, PNG or WebP.
    std::uint32_t maxSide = 0;              ///< Pixels; 0 keeps the size; never enlarges.
    std::uint32_t quality = 90;             ///< 1 to 100, for JPEG and WebP.
};

/// How the pixels of a surface are laid out; the numbers are the surfaces' own four-character codes.
enum class SurfaceFormat : std::uint32_t { bgra = 0x42475241, rgba = 0x52474241, gray = 0x4C303038 };

/// Raw pixels in a memory file. Colours are sRGB and premultiplied with their alpha.
struct SurfacePixels {
    int memory = -1; ///< Stays the caller's.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    SurfaceFormat format = SurfaceFormat::bgra;
    std::uint64_t bytesPerRow = 0;
};

} // namespace wickerlane::hoardd

#endif

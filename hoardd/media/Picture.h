// What is asked of the media workers, and what they answer.
#ifndef HOARDD_MEDIA_PICTURE_H
#define HOARDD_MEDIA_PICTURE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "wickerlane/model/MediaType.h"

namespace wickerlane::hoardd {

/// The limits of pictures: chosen so that a large camera's picture passes and a bomb does not.
struct PictureLimits {
    std::uint64_t pixels = 300'000'000;       ///< width times height
    std::uint32_t side = 65'500;              ///< the most a JPEG can hold, with room
    std::uint64_t fileBytes = 512ULL << 20;   ///< a larger file is not looked into
    std::uint64_t memoryBytes = 512ULL << 20; ///< what a worker may hold while it works
};
inline constexpr PictureLimits pictureLimits{};

/// When a picture was taken.
struct CaptureDate {
    /// Seconds since 1970 and nanoseconds within the second. UTC when the zone is known; otherwise the
    /// camera's wall clock read as if it were UTC, which keeps pictures of one camera in order.
    std::int64_t seconds = 0;
    std::uint32_t nanoseconds = 0;
    std::optional<int> zoneMinutes; ///< the camera's clock minus UTC, when the file says so
};

/// Where a picture was taken, in degrees; north and east are positive.
struct Place {
    double latitude = 0;
    double longitude = 0;
};

/// What a video file says of itself. What it does not say is zero or empty.
struct VideoFacts {
    double seconds = 0;                ///< how long it lasts
    double frameRate = 0;              ///< frames a second, on average
    std::uint32_t rotation = 0;        ///< degrees clockwise by which it is shown turned: 0, 90, 180 or 270
    std::uint32_t trackCount = 0;      ///< of all kinds
    std::uint32_t audioChannels = 0;   ///< 0 without sound
    std::uint32_t audioSampleRate = 0; ///< hertz
    std::uint64_t videoBitRate = 0;    ///< bits a second
    std::uint64_t audioBitRate = 0;    ///< bits a second
    std::string container;             ///< short names of formats, such as "mov,mp4"
    std::string videoCodec;            ///< such as "h264"
    std::string audioCodec;            ///< such as "aac"
};

/// What a picture file says of itself. What it says wrongly or not at all is absent.
struct PictureFacts {
    MediaFormat format = MediaFormat::unknown;
    std::uint32_t width = 0;       ///< pixels, with the orientation applied; 0 when unknown
    std::uint32_t height = 0;      ///< pixels, with the orientation applied; 0 when unknown
    std::uint32_t orientation = 1; ///< 1 to 8, as EXIF counts them
    std::optional<CaptureDate> captureDate;
    std::optional<Place> place;
    std::string cameraMake;          ///< printable ASCII
    std::string cameraModel;         ///< printable ASCII
    std::optional<VideoFacts> video; ///< only of a video
};

enum class MediaFailure : std::uint32_t {
    none,
    unknownFormat, ///< not a picture of a known format
    noDecoder,     ///< a known format that this machine has no decoder for
    damaged,       ///< the decoder gave up on the file
    tooLarge,      ///< beyond a limit of pixels, bytes or memory
    timedOut,      ///< took longer than a file may
    workerDied,    ///< the file, or something else, ended its worker
    unavailable,   ///< no worker can be had, or none that is confined
    outputFailed,  ///< the result could not be written
    badRequest,    ///< the request itself makes no sense
};
inline constexpr MediaFailure lastMediaFailure = MediaFailure::badRequest;

/// How a request ended.
struct MediaResult {
    MediaFailure failure = MediaFailure::none;
    std::string reason; ///< one printable line for people; empty on success

    [[nodiscard]] bool succeeded() const noexcept { return failure == MediaFailure::none; }
};

/// A thumbnail to be made.
struct ThumbnailTarget {
    std::uint32_t maxSide = 0; ///< pixels; a smaller picture is not enlarged
    int output = -1;           ///< open for writing, at the start of an empty file; stays the caller's
};

/// What an image is to be written as.
struct ImageSettings {
    MediaFormat format = MediaFormat::jpeg; ///< jpeg, png or webp
    std::uint32_t maxSide = 0;              ///< pixels; 0 keeps the size; never enlarges
    std::uint32_t quality = 90;             ///< 1 to 100, for jpeg and webp
};

/// How the pixels of a surface are laid out; the numbers are the surfaces' own four-character codes.
enum class SurfaceFormat : std::uint32_t { bgra = 0x42475241, rgba = 0x52474241, gray = 0x4C303038 };

/// Raw pixels in a memory file. Colours are sRGB and premultiplied with their alpha.
struct SurfacePixels {
    int memory = -1; ///< stays the caller's
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    SurfaceFormat format = SurfaceFormat::bgra;
    std::uint64_t bytesPerRow = 0;
};

} // namespace wickerlane::hoardd

#endif

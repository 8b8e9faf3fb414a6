// What a picture says of itself, as it travels from a media worker.
#ifndef HOARDD_MEDIA_PICTUREFACTS_H
#define HOARDD_MEDIA_PICTUREFACTS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "hoardd/media/PlainValues.h"
#include "wickerlane/model/AssetDetails.h"
#include "wickerlane/model/MediaType.h"

namespace wickerlane::hoardd {

/// When a picture was taken.
struct CaptureDate {
    /// Seconds since 1970 and nanoseconds within the second. UTC when the zone is known, or when it is an
    /// instant; otherwise the camera's wall clock read as if it were UTC.
    std::int64_t seconds = 0;
    std::uint32_t nanoseconds = 0;
    PlainOptional<int> zoneMinutes{}; ///< The camera's clock minus UTC, when the file says so.
    std::uint32_t isInstant = 0;      ///< The file says the instant, but not what the camera's clock showed.
};

/// Where a picture was taken, in degrees; north and east are positive.
struct Place {
    double latitude = 0;
    double longitude = 0;
};

/// What a video file says of itself. What it does not say is zero or empty.
struct VideoFacts {
    double seconds = 0;                ///< How long it lasts.
    double frameRate = 0;              ///< Frames a second, on average.
    std::uint32_t rotation = 0;        ///< Degrees clockwise by which it is shown turned: 0, 90, 180 or 270.
    std::uint32_t trackCount = 0;      ///< Of all kinds.
    std::uint32_t audioChannels = 0;   ///< 0 without sound.
    std::uint32_t audioSampleRate = 0; ///< Hertz.
    std::uint64_t videoBitRate = 0;    ///< Bits a second.
    std::uint64_t audioBitRate = 0;    ///< Bits a second.
    PlainText<64> container{};         ///< Short names of formats, such as "mov,mp4".
    PlainText<32> videoCodec{};        ///< Such as "h264".
    PlainText<32> audioCodec{};        ///< Such as "aac".
};

/// What a picture file says of itself. What it says wrongly or not at all is absent.
struct PictureFacts {
    MediaFormat format = MediaFormat::unknown;
    std::uint32_t width = 0;       ///< Pixels, with the orientation applied; 0 when unknown.
    std::uint32_t height = 0;      ///< The same.
    std::uint32_t orientation = 1; ///< 1 to 8, as EXIF counts them.
    PlainOptional<CaptureDate> captureDate;
    PlainOptional<Place> place;
    PlainText<64> cameraMake;
    PlainText<64> cameraModel;
    PlainText<96> lens;                    ///< Its model.
    PlainOptional<double> exposureSeconds; ///< For how long light came in.
    PlainOptional<double> aperture;        ///< The f-number.
    PlainOptional<double> focalLength;     ///< Millimetres, of the lens itself.
    std::uint32_t isoSpeed = 0;            ///< 0 when unknown.
    std::uint32_t rating = 0;              ///< 1 to 5 stars; 0 without one.
    PlainText<maxCaptionBytes + 1> caption;
    PlainText<maxKeywordLines + 1> keywords; ///< In the form in which they are kept; see AssetDetails.h.
    PlainOptional<VideoFacts> video;         ///< Only of a video.
    std::uint32_t isCutOff = 0;              ///< 1 when the file ends before its picture does.
};

/// What people read of a file that is cut off.
inline constexpr const char *endsTooEarly = "the file ends before its picture does";

/// The facts without what makes no sense. Their texts are printable ASCII, the caption and the keywords UTF-8
/// without control characters. A worker that a file has taken over can answer anything.
[[nodiscard]] PictureFacts plausibleFacts(const PictureFacts &answered);

/// A text from a worker as printable ASCII without spaces at its end.
[[nodiscard]] std::string printable(std::string_view answered);

/// A side from a worker; 0 when no picture can be that large.
[[nodiscard]] std::uint32_t plausibleSide(std::uint32_t answered) noexcept;

} // namespace wickerlane::hoardd

#endif

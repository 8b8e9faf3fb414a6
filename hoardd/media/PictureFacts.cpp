#include "hoardd/media/PictureFacts.h"

#include <cmath>
#include <string>

#include "hoardd/media/PictureLimits.h"

namespace wickerlane::hoardd {

namespace {

constexpr double maxSeconds = 1e7, maxFrameRate = 1e5;
constexpr std::uint32_t maxAudioChannels = 1024;
constexpr std::uint64_t maxBitRate = 100'000'000'000;
constexpr std::int64_t maxDateSeconds = 1'000'000'000'000; // some 30,000 years
constexpr int maxZoneMinutes = 24 * 60;
constexpr double maxExposureSeconds = 1e6, maxAperture = 1e4, maxFocalLength = 1e6;
constexpr std::uint32_t maxISOSpeed = 1'000'000'000;

// Also leaves out what is not a number.
double between0And(double limit, double value) {
    return value > 0 && value <= limit ? value : 0;
}

PlainOptional<double> orNone(double limit, const PlainOptional<double> &answered) {
    if (!answered || between0And(limit, *answered) == 0)
        return std::nullopt;
    return *answered;
}

PlainOptional<CaptureDate> plausibleDate(const PlainOptional<CaptureDate> &answered) {
    if (!answered || std::abs(static_cast<double>(answered->seconds)) >= maxDateSeconds ||
        answered->nanoseconds >= 1'000'000'000)
        return std::nullopt;
    CaptureDate date{answered->seconds, answered->nanoseconds};
    if (const auto &zone = answered->zoneMinutes; zone && *zone > -maxZoneMinutes && *zone < maxZoneMinutes)
        date.zoneMinutes = *zone;
    else
        date.isInstant = answered->isInstant != 0 ? 1 : 0;
    return date;
}

PlainOptional<Place> plausiblePlace(const PlainOptional<Place> &answered) {
    if (!answered || !(std::abs(answered->latitude) <= 90) || !(std::abs(answered->longitude) <= 180))
        return std::nullopt;
    return *answered;
}

PlainOptional<VideoFacts> plausibleVideo(const PlainOptional<VideoFacts> &answered) {
    if (!answered)
        return std::nullopt;
    VideoFacts facts;
    facts.seconds = between0And(maxSeconds, answered->seconds);
    facts.frameRate = between0And(maxFrameRate, answered->frameRate);
    facts.rotation = answered->rotation % 90 == 0 && answered->rotation < 360 ? answered->rotation : 0;
    facts.trackCount = answered->trackCount;
    facts.audioChannels = std::min(answered->audioChannels, maxAudioChannels);
    facts.audioSampleRate = answered->audioSampleRate;
    facts.videoBitRate = std::min(answered->videoBitRate, maxBitRate);
    facts.audioBitRate = std::min(answered->audioBitRate, maxBitRate);
    facts.container = printable(answered->container);
    facts.videoCodec = printable(answered->videoCodec);
    facts.audioCodec = printable(answered->audioCodec);
    return facts;
}

} // namespace

PictureFacts plausibleFacts(const PictureFacts &answered) {
    PictureFacts facts;
    facts.format = answered.format <= lastMediaFormat ? answered.format : MediaFormat::unknown;
    facts.width = plausibleSide(answered.width);
    facts.height = plausibleSide(answered.height);
    facts.orientation = answered.orientation >= 1 && answered.orientation <= 8 ? answered.orientation : 1;
    facts.captureDate = plausibleDate(answered.captureDate);
    facts.place = plausiblePlace(answered.place);
    facts.cameraMake = printable(answered.cameraMake);
    facts.cameraModel = printable(answered.cameraModel);
    facts.lens = printable(answered.lens);
    facts.exposureSeconds = orNone(maxExposureSeconds, answered.exposureSeconds);
    facts.aperture = orNone(maxAperture, answered.aperture);
    facts.focalLength = orNone(maxFocalLength, answered.focalLength);
    facts.isoSpeed = answered.isoSpeed <= maxISOSpeed ? answered.isoSpeed : 0;
    facts.rating = answered.rating <= maxRating ? answered.rating : 0;
    facts.caption = captionOf(answered.caption);
    facts.keywords = keywordLines(keywordsIn(answered.keywords));
    facts.video = plausibleVideo(answered.video);
    facts.isCutOff = answered.isCutOff != 0 ? 1 : 0;
    return facts;
}

std::string printable(std::string_view answered) {
    std::string text(answered);
    for (char &character : text)
        if (character < ' ' || character > '~')
            character = '?';
    while (text.ends_with(' '))
        text.pop_back();
    return text;
}

std::uint32_t plausibleSide(std::uint32_t answered) noexcept {
    return answered <= pictureLimits.side ? answered : 0;
}

} // namespace wickerlane::hoardd

#include "hoardd/saving/PairRule.h"

#include <algorithm>
#include <cstdlib>

namespace wickerlane::hoardd {

namespace {

constexpr std::int64_t maxApartRaw = 2;     // seconds; the camera writes the same into both
constexpr std::int64_t maxApartMoving = 10; // a video has the time of its start, or that of its end
constexpr double maxSecondsMoving = 10;

bool hasInstant(const CaptureDate &date) {
    return date.zoneMinutes.has_value() || date.isInstant != 0;
}

std::int64_t clockOf(const CaptureDate &date) {
    return date.seconds + std::int64_t{date.zoneMinutes.asOptional().value_or(0)} * 60;
}

bool areNear(const CaptureDate &one, const CaptureDate &other, std::int64_t maxApart) {
    if (hasInstant(one) && hasInstant(other))
        return std::abs(one.seconds - other.seconds) <= maxApart;
    if (one.isInstant == 0 && other.isInstant == 0)
        return std::abs(clockOf(one) - clockOf(other)) <= maxApart;
    // A clock in an unknown zone, and an instant alone: zones differ by quarters of an hour.
    constexpr std::int64_t quarter = 15 * 60, farthestZone = 14 * 3600;
    const std::int64_t apart = std::abs(one.seconds - other.seconds), rest = apart % quarter;
    return apart <= farthestZone + maxApart && std::min(rest, quarter - rest) <= maxApart;
}

} // namespace

bool areOneShot(const PictureFacts &picture, const PictureFacts &companion) {
    const auto one = picture.captureDate.asOptional(), other = companion.captureDate.asOptional();
    const bool isPicture = picture.format == MediaFormat::jpeg || picture.format == MediaFormat::heif;
    if (!isPicture || !one || !other)
        return false;
    if (companion.format == MediaFormat::raw)
        return areNear(*one, *other, maxApartRaw);
    const auto video = companion.video.asOptional();
    return companion.format == MediaFormat::video && video && video->seconds > 0 &&
           video->seconds <= maxSecondsMoving && areNear(*one, *other, maxApartMoving);
}

} // namespace wickerlane::hoardd

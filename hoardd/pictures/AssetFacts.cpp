#include "hoardd/pictures/AssetFacts.h"

#include <cmath>

#include "hoardd/library/Clock.h"
#include "hoardd/pictures/CameraName.h"
#include "wickerlane/platform/object/Number.h"

namespace wickerlane::hoardd {

void setFacts(AssetRecord &record, const PictureFacts &facts) {
    record.width = facts.width;
    record.height = facts.height;
    record.orientation = facts.orientation;
    if (facts.video)
        record.duration = facts.video->seconds;
    if (facts.place) {
        record.latitude = facts.place->latitude;
        record.longitude = facts.place->longitude;
    }
    setDetails(record, facts);
    if (facts.isCutOff != 0)
        record.problem = endsTooEarly;
    if (facts.format == MediaFormat::raw)
        record.format = mediaTypeName(MediaFormat::raw); // its first bytes may have said otherwise
}

void setDetails(AssetRecord &record, const PictureFacts &facts) {
    record.camera = cameraName(facts.cameraMake, facts.cameraModel);
    record.lens = facts.lens;
    record.exposureSeconds = facts.exposureSeconds.asOptional();
    record.aperture = facts.aperture.asOptional();
    record.focalLength = facts.focalLength.asOptional();
    record.isoSpeed = facts.isoSpeed != 0 ? std::optional<std::int64_t>(facts.isoSpeed) : std::nullopt;
    record.rating = facts.rating;
    record.caption = facts.caption;
    record.keywords = facts.keywords;
    record.dueDetails = 0;
}

void setDate(AssetRecord &record, const PictureFacts &facts, std::optional<double> given, double fallback) {
    const auto told = facts.captureDate.asOptional();
    if (given)
        record.dateCreated = *given;
    else if (told)
        record.dateCreated =
            static_cast<double>(told->seconds) + told->nanoseconds * 1e-9 - Date::secondsFrom1970To2001;
    else
        record.dateCreated = fallback;

    const std::optional<int> zone = told ? told->zoneMinutes.asOptional() : std::nullopt;
    const bool isClock = told && !given && !zone && told->isInstant == 0;
    // Of an instant alone, the clock of this machine shows what people read; once and for all, so that it
    // does not change with the zone of who looks.
    if (!isClock)
        record.zoneMinutes = zone ? *zone : localZoneMinutes(record.dateCreated);
    record.clockDate = record.dateCreated + static_cast<double>(record.zoneMinutes.value_or(0)) * 60;
}

void setClock(AssetRecord &record, const PictureFacts &facts) {
    constexpr double rounding = 1; // the fraction of a second may not have been read
    const double date = record.dateCreated;
    setDate(record, facts, std::nullopt, date);
    if (std::abs(record.dateCreated - date) >= rounding)
        record.zoneMinutes.reset();
    record.dateCreated = date;
    record.clockDate = date + static_cast<double>(record.zoneMinutes.value_or(0)) * 60;
}

void setUndecodable(AssetRecord &record, std::string_view reason) {
    record.problem = reason;
    record.width = record.height = 0;
}

} // namespace wickerlane::hoardd

#include "hoardd/pictures/VideoDescription.h"

#include "hoardd/library/Clock.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/protocol/VideoKeys.h"

namespace wickerlane::hoardd {

namespace key = protocol::videoKey;

Ref<Dictionary> describeVideo(const PictureFacts &facts, std::uint64_t fileBytes) {
    const VideoFacts &video = *facts.video;
    const std::pair<std::string_view, std::uint64_t> counts[] = {
        {key::width, facts.width},
        {key::height, facts.height},
        {key::videoBitRate, video.videoBitRate},
        {key::audioBitRate, video.audioBitRate},
        {key::audioChannels, video.audioChannels},
        {key::audioSampleRate, video.audioSampleRate},
        {key::trackCount, video.trackCount},
        {key::fileSize, fileBytes},
    };
    const std::pair<std::string_view, double> measures[] = {
        {key::duration, video.seconds},
        {key::frameRate, video.frameRate},
    };
    const std::pair<std::string_view, std::string_view> texts[] = {
        {key::videoCodec, video.videoCodec},
        {key::audioCodec, video.audioCodec},
        {key::container, video.container},
    };
    auto description = MutableDictionary::create();
    for (const auto &[name, count] : counts)
        if (count > 0)
            description->set(name, Number::of(count));
    for (const auto &[name, measure] : measures)
        if (measure > 0)
            description->set(name, Number::of(measure));
    for (const auto &[name, text] : texts)
        if (!text.empty())
            description->set(name, String::of(text));
    description->set(key::rotation, Number::of(std::uint64_t{video.rotation})); // 0 says something, too
    if (const auto told = facts.captureDate.asOptional()) {
        const auto date = Date::createWithUnixSeconds(static_cast<double>(told->seconds));
        description->set(key::creationDate, date.get());
        std::optional<std::int64_t> zone = told->zoneMinutes.asOptional();
        if (told->isInstant != 0)
            zone = localZoneMinutes(date->referenceSeconds());
        if (zone)
            description->set(key::zoneMinutes, Number::of(*zone));
    }
    if (facts.place) {
        description->set(key::latitude, Number::of(facts.place->latitude));
        description->set(key::longitude, Number::of(facts.place->longitude));
    }
    return description;
}

} // namespace wickerlane::hoardd

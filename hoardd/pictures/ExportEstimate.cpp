#include "hoardd/pictures/ExportEstimate.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/VideoKeys.h"

namespace wickerlane::hoardd {

using namespace protocol;

namespace {

/// A container's headers, and its index for each second of both tracks.
constexpr double containerBytes = 2'000, containerBytesPerSecond = 550;

std::optional<double> numberUnder(const Dictionary *properties, std::string_view key) {
    const auto *number = properties != nullptr ? properties->get<Number>(key) : nullptr;
    const double value = number != nullptr ? number->doubleValue() : -1;
    return std::isfinite(value) && value >= 0 ? std::optional(value) : std::nullopt;
}

/// Encoders spend less than they may on a source that has little to tell, and no more on a smaller picture
/// than its share.
double videoRate(const PictureFacts &facts, const ExportPreset &preset) {
    const double side = std::max(facts.width, facts.height);
    const double scale = side > preset.maxSide ? preset.maxSide / side : 1;
    const double pixels = static_cast<double>(facts.width) * facts.height * scale * scale;
    const double full = static_cast<double>(preset.maxSide) * preset.maxSide * 9 / 16;
    const double asked = static_cast<double>(preset.videoBitRate) * std::min(pixels / full, 1.0);
    const double source = static_cast<double>(facts.video->videoBitRate);
    return source > 0 ? std::min(asked, source) : asked;
}

} // namespace

Result<std::int64_t> estimatedExportBytes(const PictureFacts &facts, std::uint64_t fileBytes,
                                          std::string_view preset, const Dictionary *properties) {
    const auto *chosen =
        std::ranges::find(exportPresets, preset.empty() ? defaultExportPreset : preset, &ExportPreset::name);
    if (chosen == std::end(exportPresets))
        return fail(ProblemKind::invalid, "there is no such export preset");
    if (!facts.video || facts.video->seconds <= 0)
        return fail(ProblemKind::invalid, "the video does not say how long it is");
    const VideoFacts &video = *facts.video;
    const double start =
        std::min(numberUnder(properties, exportProperty::startTime).value_or(0), video.seconds);
    const double seconds = std::min(numberUnder(properties, exportProperty::duration).value_or(video.seconds),
                                    video.seconds - start);

    double bytes = 0;
    if (chosen->maxSide == 0) {
        bytes = static_cast<double>(fileBytes) * seconds / video.seconds;
    } else {
        const double picture =
            numberUnder(properties, exportProperty::videoBitRate).value_or(videoRate(facts, *chosen));
        double sound = 0;
        if (video.audioChannels != 0)
            sound = numberUnder(properties, exportProperty::audioBitRate)
                        .value_or(static_cast<double>(chosen->audioBitRate));
        bytes = (picture + sound) * seconds / 8 + containerBytes + containerBytesPerSecond * seconds;
    }
    constexpr double maxBytes = 9e18;
    return static_cast<std::int64_t>(std::min(bytes, maxBytes));
}

} // namespace wickerlane::hoardd

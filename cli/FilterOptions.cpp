#include "cli/FilterOptions.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>

#include "cli/Queries.h"

namespace wickerlane::cli {
namespace {

/// Takes a number from the start of a text.
template <class Number>
std::optional<Number> takeNumber(std::string_view &text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

bool take(std::string_view &text, char expected) {
    if (!text.starts_with(expected))
        return false;
    text.remove_prefix(1);
    return true;
}

struct Circle {
    double latitude = 0;
    double longitude = 0;
    double meters = 1'000;
};

/// "47.4,8.5", "47.4,8.5,10km", "47.4,8.5,300m".
std::optional<Circle> circleIn(std::string_view text) {
    Circle circle;
    const auto latitude = takeNumber<double>(text);
    if (!latitude || !take(text, ','))
        return std::nullopt;
    const auto longitude = takeNumber<double>(text);
    if (!longitude || !(std::abs(*latitude) <= 90) || !(std::abs(*longitude) <= 180))
        return std::nullopt;
    circle.latitude = *latitude;
    circle.longitude = *longitude;
    if (text.empty())
        return circle;
    if (!take(text, ','))
        return std::nullopt;
    const auto distance = takeNumber<double>(text);
    if (!distance || !(*distance >= 0) || !std::isfinite(*distance) || (text != "km" && text != "m"))
        return std::nullopt;
    circle.meters = text == "km" ? *distance * 1'000 : *distance;
    return circle;
}

std::string checkPeriod(const std::string &text) {
    return periodIn(text) ? std::string() : text + " is no date; write 2019, 2019-08 or 2019-08-31";
}

std::string checkCircle(const std::string &text) {
    return circleIn(text) ? std::string() : text + " is no place; write LATITUDE,LONGITUDE,10km";
}

} // namespace

std::optional<Period> periodIn(const std::string &text) {
    using namespace std::chrono;
    std::string_view rest = text;
    if (rest.empty() || rest[0] < '0' || rest[0] > '9')
        return std::nullopt;
    std::array<int, 3> parts{0, 1, 1};
    std::size_t count = 0;
    do {
        if (rest.empty() || rest[0] == '-')
            return std::nullopt;
        const auto part = takeNumber<int>(rest);
        if (!part)
            return std::nullopt;
        parts.at(count++) = *part;
    } while (count < parts.size() && take(rest, '-'));
    constexpr int lastYear = 9'999;
    const year_month_day first(year(parts[0]), month(static_cast<unsigned>(parts[1])),
                               day(static_cast<unsigned>(parts[2])));
    if (!rest.empty() || parts[0] > lastYear || !first.ok())
        return std::nullopt;
    const sys_days begin(first);
    const sys_days end = count == 1   ? sys_days(first + years(1))
                         : count == 2 ? sys_days(first + months(1))
                                      : begin + days(1);
    constexpr sys_days reference = 2001y / January / 1;
    const auto secondsTo = [&](sys_days date) {
        return static_cast<double>(duration_cast<seconds>(date - reference).count());
    };
    return Period{secondsTo(begin), secondsTo(end)};
}

void addFilterOptions(const Command &command, FilterOptions &options) {
    command.addOption("--kind", options.kind, "Only assets of this kind: photo, video")
        .oneOf({"photo", "video"})
        .typeName("KIND");
    command.addOption("--from", options.from, "Only those from this year, month or day on: 2019, 2019-08-31")
        .check(checkPeriod)
        .typeName("DATE");
    command.addOption("--to", options.to, "Only those up to the end of this year, month or day")
        .check(checkPeriod)
        .typeName("DATE");
    command.addOption("--near", options.near, "Only those taken near a place, within 1km or as given")
        .check(checkCircle)
        .typeName("LATITUDE,LONGITUDE[,DISTANCE]");
    command.addOption("--album", options.album, "Only those in this album: name or UUID").typeName("ALBUM");
    command.addOption("--name", options.name, "Only those with such an original name: 'IMG_*.jpg'")
        .typeName("PATTERN");
    command.addOption("--camera", options.camera, "Only those taken with this camera").typeName("CAMERA");
    command.addOption("--rating", options.rating, "Only those with at least this number of stars")
        .between(1, 5)
        .typeName("STARS");
    command.addFlag("--favourite", options.favourite, "Only favourites");
    command.addFlag("--edited", options.edited, "Only those with an edited version");
    command.addFlag("--problem", options.problem, "Only those that could not be decoded");
}

Result<AssetFilter> filterOf(const FilterOptions &options) {
    AssetFilter filter;
    if (!options.kind.empty())
        filter.kind = options.kind == "photo" ? AssetKind::photo : AssetKind::video;
    if (const auto period = periodIn(options.from))
        filter.from = period->begin;
    if (const auto period = periodIn(options.to))
        filter.until = period->end;
    if (const auto circle = circleIn(options.near)) {
        filter.nearLatitude = circle->latitude;
        filter.nearLongitude = circle->longitude;
        filter.radius = circle->meters;
    }
    if (!options.album.empty()) {
        const auto album = askForAlbum(options.album);
        if (!album)
            return passOn(album);
        filter.album = (*album)->record().uuid;
    }
    if (!options.name.empty())
        filter.name = options.name;
    if (!options.camera.empty())
        filter.camera = options.camera;
    if (options.rating > 0)
        filter.minRating = static_cast<std::int64_t>(options.rating);
    if (options.favourite)
        filter.isFavourite = true;
    if (options.edited)
        filter.isEdited = true;
    if (options.problem)
        filter.hasProblem = true;
    return filter;
}

} // namespace wickerlane::cli

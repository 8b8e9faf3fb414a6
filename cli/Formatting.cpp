#include "cli/Formatting.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "wickerlane/platform/object/Number.h"

namespace wickerlane::cli {
namespace {

std::string timeText(double referenceSeconds, bool utc, const char *format) {
    const double unixSeconds = std::floor(referenceSeconds + Date::secondsFrom1970To2001);
    // Some 30,000 years each way; beyond that the calendar functions fail.
    constexpr double reach = 1e12;
    if (!(std::abs(unixSeconds) < reach))
        return "-";
    const auto instant = static_cast<std::time_t>(unixSeconds);
    std::tm parts = {};
    if ((utc ? gmtime_r(&instant, &parts) : localtime_r(&instant, &parts)) == nullptr)
        return "-";
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, format, &parts);
    return {text, length};
}

} // namespace

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return lower;
}

std::string sizeText(std::uint64_t bytes) {
    if (bytes < 1000)
        return bytes == 1 ? "1 byte" : fmt::format("{} bytes", bytes);
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    constexpr const char *units[] = {"kB", "MB", "GB", "TB"};
    // What would be shown as 1000 of a unit is shown as 1 of the next.
    for (; value >= 999.5 && unit + 1 < std::size(units); ++unit)
        value /= 1000;
    return value < 9.95 ? fmt::format("{:.1f} {}", value, units[unit])
                        : fmt::format("{:.0f} {}", value, units[unit]);
}

std::string dateText(double referenceSeconds) {
    return timeText(referenceSeconds, false, "%Y-%m-%d %H:%M");
}

std::string isoDateText(double referenceSeconds) {
    return timeText(referenceSeconds, true, "%Y-%m-%dT%H:%M:%SZ");
}

std::string isoMomentText(double referenceSeconds) {
    const double milliseconds = std::floor(referenceSeconds * 1000);
    const double seconds = std::floor(milliseconds / 1000);
    const std::string text = timeText(seconds, true, "%Y-%m-%dT%H:%M:%S");
    return fmt::format("{}.{:03.0f}Z", text, milliseconds - seconds * 1000);
}

std::string clockText(double seconds) {
    return timeText(seconds, true, "%Y-%m-%d %H:%M");
}

std::string isoClockText(double seconds, std::optional<std::int64_t> zoneMinutes) {
    const std::string text = timeText(seconds, true, "%Y-%m-%dT%H:%M:%S");
    return zoneMinutes ? text + zoneText(*zoneMinutes) : text;
}

std::string zoneText(std::int64_t minutes) {
    const std::int64_t size = std::abs(minutes);
    return fmt::format("{}{:02}:{:02}", minutes < 0 ? '-' : '+', size / 60, size % 60);
}

} // namespace wickerlane::cli

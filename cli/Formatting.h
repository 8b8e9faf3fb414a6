// Sizes, dates and numbers as texts.
#ifndef CLI_FORMATTING_H
#define CLI_FORMATTING_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wickerlane::cli {

/// With the small letters of ASCII for its capitals.
std::string lowerCase(std::string_view text);
/// "834 bytes", "3.4 MB".
std::string sizeText(std::uint64_t bytes);
/// A point in time, in seconds since 2001-01-01 UTC, in the local time zone: "2026-11-24 23:40".
std::string dateText(double referenceSeconds);
/// The same for machines: "2026-11-24T23:40:24Z".
std::string isoDateText(double referenceSeconds);
/// The same with milliseconds: "2026-11-24T23:40:24.125Z".
std::string isoMomentText(double referenceSeconds);
/// What a camera's clock showed, in seconds since 2001-01-01 as if it were UTC: "2026-11-24 23:40".
std::string clockText(double seconds);
/// The same for machines: "2026-11-24T23:40:24+01:00", without the end if the zone is not known.
std::string isoClockText(double seconds, std::optional<std::int64_t> zoneMinutes = {});
/// "+01:00".
std::string zoneText(std::int64_t minutes);

} // namespace wickerlane::cli

#endif

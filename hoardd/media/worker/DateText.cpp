#include "hoardd/media/worker/DateText.h"

#include <chrono>
#include <cstdlib>

namespace wickerlane::hoardd::media {

namespace {

// "5", "50", "500123": the digits after the point of a second.
std::uint32_t nanosecondsOf(std::string_view digits) {
    std::uint32_t value = 0;
    std::uint32_t unit = 100'000'000;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9' || unit == 0)
            break;
        value += static_cast<std::uint32_t>(digit - '0') * unit;
        unit /= 10;
    }
    return value;
}

// "+02:00", "-0530" or "Z".
std::optional<int> zoneOf(std::string_view text) {
    if (text.starts_with('Z'))
        return 0;
    Scanner scanner(text);
    const bool west = text.starts_with('-');
    int hours = 0;
    int minutes = 0;
    if (!scanner.oneOf("+-") || !scanner.digits(2, hours))
        return std::nullopt;
    scanner.oneOf(":");
    if (!scanner.digits(2, minutes) || hours > 14 || minutes > 59)
        return std::nullopt;
    const int offset = hours * 60 + minutes;
    return west ? -offset : offset;
}

} // namespace

bool Scanner::digits(std::size_t count, int &value) {
    if (rest.size() < count)
        return false;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + count, value);
    if (error != std::errc() || end != rest.data() + count || rest.front() == '-')
        return false;
    rest.remove_prefix(count);
    return true;
}

bool Scanner::oneOf(std::string_view characters) {
    if (rest.empty() || characters.find(rest.front()) == std::string_view::npos)
        return false;
    rest.remove_prefix(1);
    return true;
}

bool Scanner::number(double &value) {
    if (rest.empty() || rest.front() < '0' || rest.front() > '9')
        return false;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
    if (error != std::errc())
        return false;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return true;
}

std::optional<CaptureDate> dateOf(std::string_view text, std::string_view subSeconds, std::string_view zone) {
    Scanner scanner(text);
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!(scanner.digits(4, year) && scanner.oneOf(":-") && scanner.digits(2, month) && scanner.oneOf(":-") &&
          scanner.digits(2, day) && scanner.oneOf(" T") && scanner.digits(2, hour) && scanner.oneOf(":") &&
          scanner.digits(2, minute)))
        return std::nullopt;
    if (scanner.oneOf(":") && !scanner.digits(2, second))
        return std::nullopt;
    const std::chrono::year_month_day date(std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    // Photography began in the 1820s; cameras without a set clock write year 0.
    if (!date.ok() || year < 1820 || hour > 23 || minute > 59 || second > 60)
        return std::nullopt;
    if (scanner.oneOf(".")) {
        subSeconds = scanner.remaining();
        int ignored = 0;
        while (scanner.digits(1, ignored)) {
        }
    }
    if (zone.empty())
        zone = scanner.remaining();
    CaptureDate result;
    result.seconds = std::chrono::sys_days(date).time_since_epoch() / std::chrono::seconds(1) + hour * 3600 +
                     minute * 60 + second;
    result.nanoseconds = nanosecondsOf(subSeconds);
    result.zoneMinutes = zoneOf(zone);
    if (result.zoneMinutes)
        result.seconds -= *result.zoneMinutes * 60;
    return result;
}

std::optional<int> zoneBetween(std::int64_t clock, std::int64_t utc) {
    constexpr std::int64_t quarter = 15 * 60, mostWrong = 5 * 60, most = 14 * 3600;
    const std::int64_t ahead = clock - utc;
    if (ahead < -most - mostWrong || ahead > most + mostWrong)
        return std::nullopt;
    const std::int64_t quarters = (ahead + (ahead < 0 ? -quarter : quarter) / 2) / quarter;
    if (std::abs(ahead - quarters * quarter) > mostWrong)
        return std::nullopt;
    return static_cast<int>(quarters * 15);
}

void setZone(CaptureDate &clock, std::int64_t utc) {
    if (const auto zone = zoneBetween(clock.seconds, utc)) {
        clock.zoneMinutes = *zone;
        clock.seconds -= *zone * 60;
    }
}

} // namespace wickerlane::hoardd::media

// Dates as files write them.
#ifndef HOARDD_MEDIA_WORKER_DATETEXT_H
#define HOARDD_MEDIA_WORKER_DATETEXT_H

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

#include "hoardd/media/PictureFacts.h"

namespace wickerlane::hoardd::media {

/// Reads along a text; every step answers whether it found what it looks for.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest(text) {}

    bool digits(std::size_t count, int &value);
    bool oneOf(std::string_view characters);
    bool number(double &value);
    [[nodiscard]] std::string_view remaining() const { return rest; }

private:
    std::string_view rest;
};

/// "2021:06:15 10:20:30" as EXIF writes it, or "2021-06-15T10:20:30.25+02:00" as XMP and videos do. EXIF
/// keeps the fraction and the zone in tags of their own, which are empty elsewhere.
[[nodiscard]] std::optional<CaptureDate> dateOf(std::string_view text, std::string_view subSeconds = {},
                                                std::string_view zone = {});

/// The minutes by which a clock is ahead of UTC when the two say these seconds. Clocks are ahead by quarters
/// of an hour, and are a little wrong; nothing when they differ otherwise.
[[nodiscard]] std::optional<int> zoneBetween(std::int64_t clock, std::int64_t utc);

/// Lets a date that shows the time of its camera know its zone from UTC, if that makes sense.
void setZone(CaptureDate &clock, std::int64_t utc);

} // namespace wickerlane::hoardd::media

#endif

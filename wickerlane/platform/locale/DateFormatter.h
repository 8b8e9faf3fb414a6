// Instants as people read them.
#ifndef WICKERLANE_PLATFORM_LOCALE_DATEFORMATTER_H
#define WICKERLANE_PLATFORM_LOCALE_DATEFORMATTER_H

#include <cstdint>
#include <memory>
#include <string>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

/// How much is said of a date or a time of day.
enum class DateStyle : std::uint8_t {
    none,
    brief,    ///< "11/25/26", "7:41 AM"
    medium,   ///< "Nov 25, 2026", "7:41:08 AM"
    extended, ///< "November 25, 2026", "7:41:08 AM UTC"
    full,     ///< "Wednesday, November 25, 2026"
};

/// Turns instants into text in the language and by the customs of one locale, in the time zone of this
/// process. Thread-safe.
class WL_EXPORT DateFormatter final : public Object {
    WL_OBJECT
public:
    /// `locale` is a tag such as "de-AT"; what names no locale counts as English. With `relative`, days near
    /// today go by their names where the language has any, such as "Yesterday". The text begins as a sentence
    /// does.
    [[nodiscard]] static Ref<DateFormatter> create(std::string locale, DateStyle date, DateStyle time,
                                                   bool relative = false);

    [[nodiscard]] const std::string &locale() const noexcept { return localeTag; }

    /// Borrowed. Null for null and for what is no instant (infinite, or not a number).
    [[nodiscard]] String *stringFromDate(const Date *date) const;

    ~DateFormatter() override;

private:
    struct Format;
    DateFormatter(std::string locale, DateStyle date, DateStyle time, bool relative);

    const std::string localeTag;
    const std::unique_ptr<Format> format;
};

} // namespace wickerlane

#endif

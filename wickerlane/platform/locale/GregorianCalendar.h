// Days, months and years.
#ifndef WICKERLANE_PLATFORM_LOCALE_GREGORIANCALENDAR_H
#define WICKERLANE_PLATFORM_LOCALE_GREGORIANCALENDAR_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "wickerlane/platform/object/Number.h"

namespace wickerlane {

/// A place in the calendar.
struct DateComponents {
    std::int32_t year = 1; ///< The year before year 1 is year 0.
    std::int32_t month = 1;
    std::int32_t day = 1;
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    std::int32_t second = 0;
    friend bool operator==(const DateComponents &, const DateComponents &) = default;
};

enum class CalendarUnit : std::uint8_t { year, month, week, day, hour, minute, second };

/// The Gregorian calendar, which begins in October 1582 (before that, days count as the Julian calendar
/// does), in the time zone of this process. Its weeks begin as those of its locale do. Immutable, and as such
/// thread-safe. Results are borrowed; null where an argument is null or no instant (infinite, or not a
/// number), or where the result lies outside what the calendar can tell: some five million years either way.
class WL_EXPORT GregorianCalendar final : public Object {
    WL_OBJECT
public:
    /// `locale` is a tag such as "de-AT"; what names no locale counts as English.
    [[nodiscard]] static Ref<GregorianCalendar> create(std::string locale);

    [[nodiscard]] const std::string &locale() const noexcept { return localeTag; }
    /// 1 for Sunday to 7 for Saturday.
    [[nodiscard]] int firstWeekday() const noexcept;

    [[nodiscard]] std::optional<DateComponents> components(const Date *date) const;
    /// Null also when there is no such day or time of day, as on 30 February.
    [[nodiscard]] Date *dateFromComponents(const DateComponents &components) const;
    /// 1 for Sunday to 7 for Saturday.
    [[nodiscard]] std::optional<int> weekday(const Date *date) const;
    [[nodiscard]] Date *startOfDay(const Date *date) const;
    /// That number of units later, or earlier if negative. A day that the month lacks becomes its last one.
    [[nodiscard]] Date *dateByAdding(std::int32_t amount, CalendarUnit unit, const Date *date) const;
    [[nodiscard]] bool isSameDay(const Date *a, const Date *b) const;

    ~GregorianCalendar() override;

private:
    struct Days;
    explicit GregorianCalendar(std::string locale);

    const std::string localeTag;
    const std::unique_ptr<const Days> days;
};

} // namespace wickerlane

#endif

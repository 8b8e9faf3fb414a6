#include "wickerlane/platform/locale/GregorianCalendar.h"

#include <unicode/gregocal.h>

#include <cmath>

#include "wickerlane/platform/locale/ICULocaleInternal.h"

namespace wickerlane {
namespace {

using Work = std::unique_ptr<icu::Calendar>;

// Within these the library's own arithmetic is sound.
constexpr double farthest = 1.8e17; // milliseconds from 1970, either way
constexpr std::int32_t farthestYear = 5'000'000;

std::optional<UDate> instantOf(const Date *date) {
    if (date == nullptr)
        return std::nullopt;
    const double milliseconds = date->unixSeconds() * U_MILLIS_PER_SECOND;
    return std::abs(milliseconds) <= farthest ? std::optional(milliseconds) : std::nullopt;
}

UCalendarDateFields fieldOf(CalendarUnit unit) {
    switch (unit) {
    case CalendarUnit::year:
        return UCAL_EXTENDED_YEAR; // whose sign does not turn before year 1
    case CalendarUnit::month:
        return UCAL_MONTH;
    case CalendarUnit::week:
        return UCAL_WEEK_OF_YEAR;
    case CalendarUnit::day:
        return UCAL_DATE;
    case CalendarUnit::hour:
        return UCAL_HOUR_OF_DAY;
    case CalendarUnit::minute:
        return UCAL_MINUTE;
    case CalendarUnit::second:
        break;
    }
    return UCAL_SECOND;
}

Date *dateOf(const icu::Calendar &calendar) {
    UErrorCode status = U_ZERO_ERROR;
    const double milliseconds = calendar.getTime(status);
    if (U_FAILURE(status) || !(std::abs(milliseconds) <= farthest))
        return nullptr;
    return autorelease(Date::createWithUnixSeconds(milliseconds / U_MILLIS_PER_SECOND));
}

void setStartOfDay(icu::Calendar &calendar) {
    for (const auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND})
        calendar.set(field, 0);
}

} // namespace

// A pattern that each piece of work copies: a calendar of the library is changed by being asked.
struct GregorianCalendar::Days {
    std::unique_ptr<const icu::Calendar> pattern; // null without the locale's data

    explicit Days(const std::string &locale) {
        UErrorCode status = U_ZERO_ERROR;
        auto made = std::make_unique<icu::GregorianCalendar>(icuLocaleNamed(locale), status);
        if (U_SUCCESS(status))
            pattern = std::move(made);
    }

    [[nodiscard]] Work at(std::optional<UDate> instant) const {
        if (pattern == nullptr || !instant)
            return nullptr;
        UErrorCode status = U_ZERO_ERROR;
        Work work(pattern->clone());
        if (work != nullptr)
            work->setTime(*instant, status);
        return U_SUCCESS(status) ? std::move(work) : nullptr;
    }
};

constinit const Class GregorianCalendar::classInfo{"GregorianCalendar", &Object::classInfo, nullptr};

GregorianCalendar::GregorianCalendar(std::string locale)
    : localeTag(std::move(locale)), days(std::make_unique<const Days>(localeTag)) {
}

GregorianCalendar::~GregorianCalendar() = default;

Ref<GregorianCalendar> GregorianCalendar::create(std::string locale) {
    return Ref<GregorianCalendar>::adopt(new GregorianCalendar(std::move(locale)));
}

int GregorianCalendar::firstWeekday() const noexcept {
    if (days->pattern == nullptr)
        return UCAL_SUNDAY;
    UErrorCode status = U_ZERO_ERROR;
    return days->pattern->getFirstDayOfWeek(status);
}

std::optional<DateComponents> GregorianCalendar::components(const Date *date) const {
    const Work work = days->at(instantOf(date));
    if (work == nullptr)
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const DateComponents found{.year = work->get(UCAL_EXTENDED_YEAR, status),
                               .month = work->get(UCAL_MONTH, status) + 1,
                               .day = work->get(UCAL_DATE, status),
                               .hour = work->get(UCAL_HOUR_OF_DAY, status),
                               .minute = work->get(UCAL_MINUTE, status),
                               .second = work->get(UCAL_SECOND, status)};
    return U_SUCCESS(status) ? std::optional(found) : std::nullopt;
}

Date *GregorianCalendar::dateFromComponents(const DateComponents &components) const {
    const Work work = days->at(0);
    if (work == nullptr || components.month < 1 || components.month > 12 ||
        std::abs(std::int64_t{components.year}) > farthestYear)
        return nullptr;
    work->clear();
    work->setLenient(false);
    work->set(UCAL_EXTENDED_YEAR, components.year);
    work->set(UCAL_MONTH, components.month - 1);
    work->set(UCAL_DATE, components.day);
    work->set(UCAL_HOUR_OF_DAY, components.hour);
    work->set(UCAL_MINUTE, components.minute);
    work->set(UCAL_SECOND, components.second);
    return dateOf(*work);
}

std::optional<int> GregorianCalendar::weekday(const Date *date) const {
    const Work work = days->at(instantOf(date));
    if (work == nullptr)
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const int found = work->get(UCAL_DAY_OF_WEEK, status);
    return U_SUCCESS(status) ? std::optional(found) : std::nullopt;
}

Date *GregorianCalendar::startOfDay(const Date *date) const {
    const Work work = days->at(instantOf(date));
    if (work == nullptr)
        return nullptr;
    setStartOfDay(*work);
    return dateOf(*work);
}

Date *GregorianCalendar::dateByAdding(std::int32_t amount, CalendarUnit unit, const Date *date) const {
    const Work work = days->at(instantOf(date));
    const bool isTooFar = (unit == CalendarUnit::year && std::abs(std::int64_t{amount}) > farthestYear) ||
                          (unit == CalendarUnit::month && std::abs(std::int64_t{amount}) > farthestYear * 12);
    if (work == nullptr || isTooFar)
        return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    work->add(fieldOf(unit), amount, status);
    return U_SUCCESS(status) ? dateOf(*work) : nullptr;
}

bool GregorianCalendar::isSameDay(const Date *a, const Date *b) const {
    const ReleaseScope scope;
    const Date *startA = startOfDay(a);
    return startA != nullptr && areEqual(startA, startOfDay(b));
}

} // namespace wickerlane

#include "wickerlane/util/texts/JXDates.h"

#include <atomic>

#include "wickerlane/platform/locale/DateFormatter.h"
#include "wickerlane/platform/locale/Locale.h"

using namespace wickerlane;

namespace {

constinit std::atomic<DateFormatter *> prettyFormatter{nullptr};

// Nobody waits for another's formatter: of several that are made at first, one is kept.
DateFormatter *relativePrettyFormatter() {
    DateFormatter *kept = prettyFormatter.load(std::memory_order_acquire);
    if (kept != nullptr)
        return kept;
    Ref<DateFormatter> made =
        DateFormatter::create(currentLocale(), DateStyle::medium, DateStyle::brief, true);
    return prettyFormatter.compare_exchange_strong(kept, made.get(), std::memory_order_acq_rel) ? made.leak()
                                                                                                : kept;
}

} // namespace

String *JXRelativePrettyDateForDate(const Date *date) {
    return date != nullptr ? relativePrettyFormatter()->stringFromDate(date) : nullptr;
}

GregorianCalendar *JXGregorianCalendar() {
    static wickerlane::GregorianCalendar *const shared =
        wickerlane::GregorianCalendar::create(currentLocale()).leak();
    return shared;
}

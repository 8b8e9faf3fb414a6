#include "wickerlane/util/texts/JXDates.h"

#include <atomic>

#include "wickerlane/platform/locale/DateFormatter.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/object/NeverDestroyed.h"

using namespace wickerlane;

namespace {

constinit std::atomic<DateFormatter *> prettyFormatter{nullptr};

// Not guarded by a lock: several threads may create a formatter at first, of which one is kept.
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
    static NeverDestroyed<Ref<GregorianCalendar>> shared(GregorianCalendar::create(currentLocale()));
    return shared->get();
}

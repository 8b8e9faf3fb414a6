#include "wickerlane/platform/locale/DateFormatter.h"

#include <unicode/datefmt.h>

#include <cmath>

#include "wickerlane/platform/locale/ICULocaleInternal.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane {
namespace {

icu::DateFormat::EStyle styleOf(DateStyle style) {
    switch (style) {
    case DateStyle::none:
        break;
    case DateStyle::brief:
        return icu::DateFormat::kShort;
    case DateStyle::medium:
        return icu::DateFormat::kMedium;
    case DateStyle::extended:
        return icu::DateFormat::kLong;
    case DateStyle::full:
        return icu::DateFormat::kFull;
    }
    return icu::DateFormat::kNone;
}

icu::DateFormat::EStyle relativeStyleOf(DateStyle style) {
    const icu::DateFormat::EStyle plain = styleOf(style);
    return plain == icu::DateFormat::kNone
               ? plain
               : static_cast<icu::DateFormat::EStyle>(plain | icu::DateFormat::kRelative);
}

} // namespace

// A relative format changes while it formats.
struct DateFormatter::Format {
    Mutex mutex;
    std::unique_ptr<icu::DateFormat> dates WL_POINTEE_GUARDED_BY(mutex); // null without the locale's data

    Format(const std::string &locale, DateStyle date, DateStyle time, bool relative) {
        dates.reset(icu::DateFormat::createDateTimeInstance(relative ? relativeStyleOf(date) : styleOf(date),
                                                            styleOf(time), icuLocaleNamed(locale)));
        UErrorCode status = U_ZERO_ERROR;
        if (dates != nullptr)
            dates->setContext(UDISPCTX_CAPITALIZATION_FOR_BEGINNING_OF_SENTENCE, status);
    }
};

constinit const Class DateFormatter::classInfo{"DateFormatter", &Object::classInfo, nullptr};

DateFormatter::DateFormatter(std::string locale, DateStyle date, DateStyle time, bool relative)
    : localeTag(std::move(locale)), format(std::make_unique<Format>(localeTag, date, time, relative)) {
}

DateFormatter::~DateFormatter() = default;

Ref<DateFormatter> DateFormatter::create(std::string locale, DateStyle date, DateStyle time, bool relative) {
    return Ref<DateFormatter>::adopt(new DateFormatter(std::move(locale), date, time, relative));
}

String *DateFormatter::stringFromDate(const Date *date) const {
    if (date == nullptr || !std::isfinite(date->unixSeconds()))
        return nullptr;
    if (format->dates == nullptr)
        return date->description();
    icu::UnicodeString text;
    {
        const MutexLock lock(format->mutex);
        format->dates->format(date->unixSeconds() * U_MILLIS_PER_SECOND, text);
    }
    return autorelease(String::createWithUTF16({text.getBuffer(), static_cast<std::size_t>(text.length())}));
}

} // namespace wickerlane

#include "wickerlane/platform/locale/NumberFormatter.h"

#include <unicode/numfmt.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "wickerlane/platform/locale/ICULocaleInternal.h"

namespace wickerlane {

// Its constant functions may be called by several threads at once.
struct NumberFormatter::Format {
    std::unique_ptr<icu::NumberFormat> numbers; // null without the locale's data

    Format(const std::string &locale, NumberStyle style) {
        UErrorCode status = U_ZERO_ERROR;
        numbers.reset(icu::NumberFormat::createInstance(icuLocaleNamed(locale), UNUM_DECIMAL, status));
        if (U_FAILURE(status) || numbers == nullptr) {
            numbers.reset();
            return;
        }
        if (style == NumberStyle::plain) {
            numbers->setGroupingUsed(false);
            numbers->setMaximumFractionDigits(0);
            numbers->setParseIntegerOnly(true);
        }
    }
};

namespace {

String *textOf(const icu::UnicodeString &text) {
    return autorelease(String::createWithUTF16({text.getBuffer(), static_cast<std::size_t>(text.length())}));
}

template <class Integer>
Ref<Number> integerOf(const std::string &digits) {
    Integer value{};
    const char *end = digits.data() + digits.size();
    const auto [stopped, problem] = std::from_chars(digits.data(), end, value);
    return problem == std::errc() && stopped == end ? Number::create(value) : nullptr;
}

// The integer that a decimal number spells, "1234" or "1.8446744073709551615E+19"; null when it is a fraction
// or too large.
Ref<Number> exactNumber(std::string number) {
    if (const std::size_t mark = number.find('E'); mark != number.npos) {
        const std::size_t point = std::min(number.find('.'), mark);
        const std::size_t fraction = mark - std::min(point + 1, mark);
        const std::size_t sign = number.find_first_not_of("E+", mark);
        std::size_t exponent = 0;
        const auto [end, problem] = std::from_chars(number.data() + std::min(sign, number.size()),
                                                    number.data() + number.size(), exponent);
        constexpr std::size_t maxDigits = 20; // digits that 64 bits can hold
        if (problem != std::errc() || exponent < fraction || exponent > maxDigits)
            return nullptr;
        number.erase(mark);
        if (point != mark)
            number.erase(point, 1);
        number.append(exponent - fraction, '0');
    }
    Ref<Number> exact = integerOf<std::int64_t>(number);
    return exact ? exact : integerOf<std::uint64_t>(number);
}

} // namespace

constinit const Class NumberFormatter::classInfo{"NumberFormatter", &Object::classInfo, nullptr};

NumberFormatter::NumberFormatter(std::string locale, NumberStyle style, bool generatesDecimalNumbers)
    : localeTag(std::move(locale)), numberStyle(style), readsExactly(generatesDecimalNumbers),
      format(std::make_unique<const Format>(localeTag, style)) {
}

NumberFormatter::~NumberFormatter() = default;

Ref<NumberFormatter> NumberFormatter::create(std::string locale, NumberStyle style,
                                             bool generatesDecimalNumbers) {
    return Ref<NumberFormatter>::adopt(
        new NumberFormatter(std::move(locale), style, generatesDecimalNumbers));
}

String *NumberFormatter::stringFromNumber(const Number *number) const {
    if (number == nullptr)
        return nullptr;
    if (number->kind() == Number::Kind::unsignedInteger)
        return stringFromInteger(number->uint64Value());
    if (format->numbers == nullptr)
        return number->description();
    icu::UnicodeString text;
    if (number->kind() == Number::Kind::real)
        format->numbers->format(number->doubleValue(), text);
    else
        format->numbers->format(number->int64Value(), text);
    return textOf(text);
}

String *NumberFormatter::stringFromInteger(std::uint64_t number) const {
    if (format->numbers == nullptr)
        return Number::of(number)->description();
    icu::UnicodeString text;
    if (number <= std::numeric_limits<std::int64_t>::max()) {
        format->numbers->format(static_cast<std::int64_t>(number), text);
    } else {
        UErrorCode status = U_ZERO_ERROR;
        format->numbers->format(icu::StringPiece(std::to_string(number)), text, nullptr, status);
    }
    return textOf(text);
}

Number *NumberFormatter::numberFromString(const String *text) const {
    if (text == nullptr || text->length() == 0 || format->numbers == nullptr)
        return nullptr;
    const std::u16string units = text->utf16();
    if (units.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        return nullptr;
    const icu::UnicodeString all(false, units.data(), static_cast<std::int32_t>(units.size()));
    icu::ParsePosition place;
    icu::Formattable read;
    format->numbers->parse(all, read, place);
    if (place.getIndex() != all.length())
        return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    if (readsExactly) {
        const icu::StringPiece spelt = read.getDecimalNumber(status);
        if (U_SUCCESS(status))
            if (Ref<Number> exact = exactNumber({spelt.data(), static_cast<std::size_t>(spelt.length())}))
                return autorelease(std::move(exact));
        status = U_ZERO_ERROR;
    }
    const double value = read.getDouble(status);
    return U_SUCCESS(status) && !std::isnan(value) ? Number::of(value) : nullptr;
}

} // namespace wickerlane

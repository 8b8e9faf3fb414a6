#include "wickerlane/platform/object/Number.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>

#include "wickerlane/platform/object/String.h"

namespace wickerlane {

constinit const Class Number::classInfo{"Number", &Object::classInfo, nullptr};
constinit const Class Date::classInfo{"Date", &Object::classInfo,
                                      [] { return static_cast<Object *>(Date::createNow().leak()); }};
WL_BUILT_IN_CLASS(Number);
WL_BUILT_IN_CLASS(Date);

namespace {

constexpr double twoTo63 = 9223372036854775808.0;
constexpr double twoTo64 = 18446744073709551616.0;

// Compares exactly: a double is only converted to an integer where that loses nothing.
std::partial_ordering compareIntegerWithReal(bool negative, std::uint64_t magnitudeOrBits, double real) {
    if (std::isnan(real))
        return std::partial_ordering::unordered;
    if (negative) {
        const auto integer = static_cast<std::int64_t>(magnitudeOrBits);
        if (real >= 0)
            return std::partial_ordering::less;
        if (real < -twoTo63)
            return std::partial_ordering::greater;
        const double whole = std::trunc(real);
        const auto order = integer <=> static_cast<std::int64_t>(whole);
        return order != 0 ? order : (0 <=> real - whole);
    }
    if (real < 0)
        return std::partial_ordering::greater;
    if (real >= twoTo64)
        return std::partial_ordering::less;
    const double whole = std::trunc(real);
    const auto order = magnitudeOrBits <=> static_cast<std::uint64_t>(whole);
    return order != 0 ? order : (0 <=> real - whole);
}

} // namespace

Ref<Number> Number::createBoolean(bool value) {
    static WL_IMMORTAL Immortal<Number> yes{ImmortalTag{}, true};
    static WL_IMMORTAL Immortal<Number> no{ImmortalTag{}, false};
    return value ? yes.get() : no.get();
}

Ref<Number> Number::createSigned(std::int64_t value) {
    return Ref<Number>::adopt(new Number(value));
}

Ref<Number> Number::createUnsigned(std::uint64_t value) {
    return Ref<Number>::adopt(new Number(value));
}

Ref<Number> Number::createReal(double value) {
    return Ref<Number>::adopt(new Number(value));
}

bool Number::boolValue() const noexcept {
    return numberKind == Kind::real ? d != 0 : u != 0;
}

std::int64_t Number::int64Value() const noexcept {
    if (numberKind != Kind::real)
        return static_cast<std::int64_t>(u);
    if (std::isnan(d))
        return 0;
    if (d >= twoTo63)
        return std::numeric_limits<std::int64_t>::max();
    if (d < -twoTo63)
        return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(d);
}

std::uint64_t Number::uint64Value() const noexcept {
    if (numberKind != Kind::real)
        return u;
    if (std::isnan(d) || d <= 0)
        return 0;
    if (d >= twoTo64)
        return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(d);
}

double Number::doubleValue() const noexcept {
    switch (numberKind) {
    case Kind::real:
        return d;
    case Kind::signedInteger:
        return static_cast<double>(s);
    case Kind::boolean:
    case Kind::unsignedInteger:
        break;
    }
    return static_cast<double>(u);
}

std::strong_ordering Number::compare(const Number *other) const noexcept {
    const bool negative = numberKind == Kind::signedInteger && s < 0;
    const bool otherNegative = other->numberKind == Kind::signedInteger && other->s < 0;
    std::partial_ordering order = std::partial_ordering::unordered;
    if (numberKind == Kind::real && other->numberKind == Kind::real)
        order = d <=> other->d;
    else if (numberKind == Kind::real)
        order = 0 <=> compareIntegerWithReal(otherNegative, other->u, d);
    else if (other->numberKind == Kind::real)
        order = compareIntegerWithReal(negative, u, other->d);
    else if (negative || otherNegative)
        order = negative && otherNegative ? s <=> other->s : otherNegative <=> negative;
    else
        order = u <=> other->u;
    if (order == std::partial_ordering::unordered) { // not-a-number sorts first and equals itself
        const auto isNaN = [](const Number *n) { return n->numberKind == Kind::real && std::isnan(n->d); };
        return isNaN(other) <=> isNaN(this);
    }
    return order < 0 ? std::strong_ordering::less
                     : (order > 0 ? std::strong_ordering::greater : std::strong_ordering::equal);
}

bool Number::isEqual(const Object *other) const {
    const auto *number = as<Number>(other);
    return number != nullptr && compare(number) == 0;
}

std::size_t Number::hash() const {
    if (numberKind == Kind::signedInteger && s < 0)
        return std::hash<std::int64_t>{}(s);
    if (numberKind != Kind::real)
        return std::hash<std::uint64_t>{}(u);
    // A real with an integer's value hashes as that integer.
    if (d >= 0 && d < twoTo64 && d == std::trunc(d))
        return std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(d));
    if (d < 0 && d >= -twoTo63 && d == std::trunc(d))
        return std::hash<std::int64_t>{}(static_cast<std::int64_t>(d));
    return std::isnan(d) ? 1 : std::hash<double>{}(d);
}

String *Number::description() const {
    char text[32];
    std::to_chars_result end{};
    switch (numberKind) {
    case Kind::real:
        end = std::to_chars(text, text + sizeof text, d);
        break;
    case Kind::signedInteger:
        end = std::to_chars(text, text + sizeof text, s);
        break;
    case Kind::boolean:
    case Kind::unsignedInteger:
        end = std::to_chars(text, text + sizeof text, u);
        break;
    }
    return String::of({text, static_cast<std::size_t>(end.ptr - text)});
}

Ref<Date> Date::createWithReferenceSeconds(double sinceReference) {
    return Ref<Date>::adopt(new Date(sinceReference));
}

Ref<Date> Date::createWithUnixSeconds(double since1970) {
    return createWithReferenceSeconds(since1970 - secondsFrom1970To2001);
}

Ref<Date> Date::createNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return createWithUnixSeconds(std::chrono::duration<double>(now).count());
}

bool Date::isEqual(const Object *other) const {
    const auto *date = as<Date>(other);
    return date != nullptr && date->seconds == seconds;
}

std::size_t Date::hash() const {
    return std::hash<double>{}(seconds);
}

String *Date::description() const {
    const double whole = std::floor(unixSeconds());
    std::tm parts{};
    char text[64];
    if (std::abs(whole) < 1e15) {
        const auto time = static_cast<std::time_t>(whole);
        if (gmtime_r(&time, &parts) != nullptr &&
            std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &parts) != 0)
            return String::of(text);
    }
    return String::format("%g seconds since 2001-01-01 00:00:00 +0000", seconds);
}

} // namespace wickerlane

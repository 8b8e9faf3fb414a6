// Texts as numbers.
#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <limits>

#include "wickerlane/platform/object/String.h"

namespace wickerlane {
namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// The text of the decimal number that begins a text, white space before it left out; empty when there is
// none.
std::string decimalPrefix(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    std::size_t i = 0;
    const auto digits = [&] {
        const std::size_t start = i;
        while (i < text.size() && isDigit(text[i]))
            ++i;
        return i - start;
    };
    const auto sign = [&] {
        if (i < text.size() && (text[i] == '+' || text[i] == '-'))
            ++i;
    };
    sign();
    std::size_t count = digits();
    if (i < text.size() && text[i] == '.') {
        ++i;
        count += digits();
    }
    if (count == 0)
        return {};
    const std::size_t mantissa = i;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        sign();
        if (digits() == 0)
            i = mantissa;
    }
    return std::string(text.substr(0, i));
}

} // namespace

std::int64_t String::integerValue() const {
    using Limits = std::numeric_limits<std::int64_t>;
    std::string_view text = utf8();
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    std::int64_t value = 0; // negative all the way, since the range of the negative numbers is the wider one
    for (const char c : text) {
        if (!isDigit(c))
            break;
        if (__builtin_mul_overflow(value, 10, &value) || __builtin_sub_overflow(value, c - '0', &value))
            return negative ? Limits::min() : Limits::max();
    }
    if (negative)
        return value;
    return value == Limits::min() ? Limits::max() : -value;
}

double String::doubleValue() const {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    constexpr double highest = std::numeric_limits<double>::max();
    return std::clamp(strtod_l(decimalPrefix(utf8()).c_str(), nullptr, plain), -highest, highest);
}

} // namespace wickerlane

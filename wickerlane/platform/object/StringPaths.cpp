// Texts as paths and as numbers.
#include <clocale>
#include <cstdlib>
#include <limits>

#include <algorithm>

#include "wickerlane/platform/object/String.h"

namespace wickerlane {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) noexcept {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return path;
}

// Where the last component of a path without trailing slashes begins.
std::size_t lastComponentStart(std::string_view path) noexcept {
    if (path == "/")
        return 0;
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

// The dot before the extension of a path without trailing slashes; npos when there is no extension. A dot
// that begins the name hides the file, and one that ends it begins nothing.
std::size_t extensionDot(std::string_view path) noexcept {
    const std::size_t start = lastComponentStart(path);
    const std::size_t dot = path.rfind('.');
    const bool any = dot != std::string_view::npos && dot > start && dot + 1 < path.size() &&
                     path.substr(start).find_first_not_of('.') < dot - start;
    return any ? dot : std::string_view::npos;
}

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

String *String::appendingPathComponent(std::string_view component) const {
    std::string joined(withoutTrailingSlashes(utf8()));
    component.remove_prefix(joined.empty() ? 0
                                           : std::min(component.find_first_not_of('/'), component.size()));
    if (!joined.empty() && joined != "/" && !component.empty())
        joined += '/';
    return of(joined)->appending(withoutTrailingSlashes(component));
}

String *String::deletingLastPathComponent() const {
    const std::string_view path = withoutTrailingSlashes(utf8());
    if (path == "/")
        return of(path);
    return of(withoutTrailingSlashes(path.substr(0, lastComponentStart(path))));
}

String *String::lastPathComponent() const {
    const std::string_view path = withoutTrailingSlashes(utf8());
    return of(path.substr(lastComponentStart(path)));
}

String *String::pathExtension() const {
    const std::string_view path = withoutTrailingSlashes(utf8());
    const std::size_t dot = extensionDot(path);
    return dot == std::string_view::npos ? empty() : of(path.substr(dot + 1));
}

String *String::deletingPathExtension() const {
    const std::string_view path = withoutTrailingSlashes(utf8());
    return of(path.substr(0, extensionDot(path)));
}

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

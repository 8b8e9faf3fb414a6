// Where the next page of a list begins, as a text: behind the entry whose value in the list's order, and
// whose primary key or other number that tells equal values apart, the cursor has.
#ifndef WICKERLANE_STORE_PAGECURSOR_H
#define WICKERLANE_STORE_PAGECURSOR_H

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wickerlane::store {

template <class Value>
struct PageCursor {
    std::int64_t number = 0;
    Value value{};
};

/// The number that a whole text is; nothing when it is none.
template <class Number>
std::optional<Number> numberIn(std::string_view text) {
    Number number{};
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size())
        return std::nullopt;
    if constexpr (std::is_floating_point_v<Number>)
        if (!std::isfinite(number))
            return std::nullopt;
    return number;
}

/// "<number>/<value>".
template <class Value>
std::string cursorText(std::int64_t number, const Value &value) {
    std::string text = std::to_string(number) + "/";
    if constexpr (std::is_same_v<Value, std::string>) {
        text += value;
    } else {
        std::array<char, 32> digits{}; // enough for the shortest text that gives the same value back
        text.append(digits.data(), std::to_chars(digits.begin(), digits.end(), value).ptr);
    }
    return text;
}

/// Nothing when the text is no such cursor.
template <class Value>
std::optional<PageCursor<Value>> cursorIn(std::string_view text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos)
        return std::nullopt;
    const auto number = numberIn<std::int64_t>(text.substr(0, slash));
    if (!number)
        return std::nullopt;
    text.remove_prefix(slash + 1);
    if constexpr (std::is_same_v<Value, std::string>) {
        return PageCursor<Value>{*number, std::string(text)};
    } else {
        const auto value = numberIn<Value>(text);
        return value ? std::optional(PageCursor<Value>{*number, *value}) : std::nullopt;
    }
}

} // namespace wickerlane::store

#endif

// UTF-8 and UTF-16, told apart byte by byte.
#ifndef WICKERLANE_PLATFORM_OBJECT_UTF8INTERNAL_H
#define WICKERLANE_PLATFORM_OBJECT_UTF8INTERNAL_H

#include <cstddef>
#include <string>
#include <string_view>

namespace wickerlane::utf8 {

constexpr char32_t replacement = 0xFFFD;
/// What decoding gives for bytes that are no UTF-8.
constexpr char32_t invalid = 0xFFFFFFFF;

/// Decodes the character at `p`, which is before `end`, and moves `p` past it; of ill-formed text past the
/// longest piece that could have begun a character, so that each such piece becomes one replacement.
inline char32_t next(const char *&p, const char *end) noexcept {
    const auto first = static_cast<unsigned char>(*p++);
    if (first < 0x80)
        return first;
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
    unsigned more = 0;
    char32_t value = 0;
    if (first >= 0xC2 && first <= 0xDF) {
        more = 1;
        value = first & 0x1F;
    } else if (first >= 0xE0 && first <= 0xEF) {
        more = 2;
        value = first & 0x0F;
        if (first == 0xE0)
            lowest = 0xA0;
        else if (first == 0xED)
            highest = 0x9F;
    } else if (first >= 0xF0 && first <= 0xF4) {
        more = 3;
        value = first & 0x07;
        if (first == 0xF0)
            lowest = 0x90;
        else if (first == 0xF4)
            highest = 0x8F;
    } else {
        return invalid;
    }
    for (; more != 0; --more) {
        if (p == end)
            return invalid;
        const auto byte = static_cast<unsigned char>(*p);
        if (byte < lowest || byte > highest)
            return invalid;
        value = value << 6 | (byte & 0x3F);
        ++p;
        lowest = 0x80;
        highest = 0xBF;
    }
    return value;
}

/// The character of UTF-16 text at `p`, which is before `end`; a lone surrogate gives the replacement.
inline char32_t next(const char16_t *&p, const char16_t *end) noexcept {
    const char16_t unit = *p++;
    if ((unit & 0xF800) != 0xD800)
        return unit;
    if ((unit & 0x0400) != 0 || p == end || (*p & 0xFC00) != 0xDC00)
        return replacement;
    return 0x10000 + ((static_cast<char32_t>(unit) & 0x3FF) << 10 | (*p++ & 0x3FF));
}

/// How many bytes at the start of a text are ASCII.
std::size_t asciiPrefix(std::string_view text) noexcept;

/// Length in UTF-16 units; notValid for text that is no UTF-8. Equals the length in bytes for ASCII only.
constexpr std::size_t notValid = static_cast<std::size_t>(-1);
std::size_t lengthInUTF16(std::string_view text) noexcept;

/// Adds a character; the replacement for what is none.
void append(std::string &text, char32_t character);
void append(std::string &text, std::u16string_view units);
void append(std::u16string &units, std::string_view text);
/// Adds text whose ill-formed pieces become replacements.
void appendRepaired(std::string &text, std::string_view added);

/// The length of a text that was cut at some byte without the incomplete character that the cut may have
/// left.
std::size_t lengthOfWhole(std::string_view cut) noexcept;

} // namespace wickerlane::utf8

#endif

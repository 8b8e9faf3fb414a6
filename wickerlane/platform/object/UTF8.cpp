#include <cstdint>
#include <cstring>

#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane::utf8 {

std::size_t asciiPrefix(std::string_view text) noexcept {
    std::size_t i = 0;
    for (std::uint64_t word = 0; i + sizeof word <= text.size(); i += sizeof word) {
        std::memcpy(&word, text.data() + i, sizeof word);
        if ((word & 0x8080808080808080U) != 0)
            break;
    }
    while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80)
        ++i;
    return i;
}

std::size_t lengthInUTF16(std::string_view text) noexcept {
    std::size_t units = asciiPrefix(text);
    const char *p = text.data() + units;
    const char *const end = text.data() + text.size();
    while (p != end) {
        const char32_t character = next(p, end);
        if (character == invalid)
            return notValid;
        units += character > 0xFFFF ? 2 : 1;
    }
    return units;
}

void append(std::string &text, char32_t character) {
    if (character > 0x10FFFF || (character & 0xFFFFF800) == 0xD800)
        character = replacement;
    const auto tail = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
        text += tail(character);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | character >> 12);
        text += tail(character >> 6);
        text += tail(character);
    } else {
        text += static_cast<char>(0xF0 | character >> 18);
        text += tail(character >> 12);
        text += tail(character >> 6);
        text += tail(character);
    }
}

void append(std::string &text, std::u16string_view units) {
    const char16_t *p = units.data();
    const char16_t *const end = p + units.size();
    while (p != end)
        append(text, next(p, end));
}

void append(std::u16string &units, std::string_view text) {
    const std::size_t ascii = asciiPrefix(text);
    units.append(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(ascii));
    const char *p = text.data() + ascii;
    const char *const end = text.data() + text.size();
    while (p != end) {
        char32_t character = next(p, end);
        if (character == invalid)
            character = replacement;
        if (character > 0xFFFF) {
            units += static_cast<char16_t>(0xD7C0 + (character >> 10));
            units += static_cast<char16_t>(0xDC00 | (character & 0x3FF));
        } else {
            units += static_cast<char16_t>(character);
        }
    }
}

void appendRepaired(std::string &text, std::string_view added) {
    const char *p = added.data() + asciiPrefix(added);
    const char *const end = added.data() + added.size();
    const char *good = added.data();
    while (p != end) {
        const char *const start = p;
        if (next(p, end) != invalid)
            continue;
        text.append(good, start);
        append(text, replacement);
        good = p;
    }
    text.append(good, end);
}

std::size_t lengthOfWhole(std::string_view cut) noexcept {
    for (std::size_t back = 1; back <= 3 && back <= cut.size(); ++back) {
        const auto byte = static_cast<unsigned char>(cut[cut.size() - back]);
        if ((byte & 0xC0) == 0x80)
            continue;
        const std::size_t needed = byte < 0xC2 || byte > 0xF4 ? 1 : (byte < 0xE0 ? 2 : (byte < 0xF0 ? 3 : 4));
        const char *p = cut.data() + cut.size() - back;
        const char *const end = cut.data() + cut.size();
        if (needed > back && next(p, end) == invalid && p == end)
            return cut.size() - back;
        break;
    }
    return cut.size();
}

} // namespace wickerlane::utf8

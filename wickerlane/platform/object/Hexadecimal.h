// Bytes as hexadecimal digits.
#ifndef WICKERLANE_PLATFORM_OBJECT_HEXADECIMAL_H
#define WICKERLANE_PLATFORM_OBJECT_HEXADECIMAL_H

#include <cstddef>
#include <span>
#include <string>

namespace wickerlane {

inline constexpr const char *lowerHexadecimalDigits = "0123456789abcdef";
inline constexpr const char *upperHexadecimalDigits = "0123456789ABCDEF";

/// Two lower-case digits a byte.
[[nodiscard]] inline std::string hexadecimal(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::byte each : bytes) {
        text += lowerHexadecimalDigits[std::to_integer<unsigned>(each) >> 4];
        text += lowerHexadecimalDigits[std::to_integer<unsigned>(each) & 15];
    }
    return text;
}

} // namespace wickerlane

#endif

// Bytes as text in JSON.
#ifndef CLI_VIEW_BASE64_H
#define CLI_VIEW_BASE64_H

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>

namespace wickerlane::cli::view {

/// Appends bytes as Base64, padded.
inline void appendBase64(std::string &text, std::span<const std::byte> bytes) {
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    text.reserve(text.size() + (bytes.size() + 2) / 3 * 4);
    for (; !bytes.empty(); bytes = bytes.subspan(std::min<std::size_t>(bytes.size(), 3))) {
        const auto byteAt = [&](std::size_t i) {
            return i < bytes.size() ? std::to_integer<unsigned>(bytes[i]) : 0U;
        };
        const unsigned three = byteAt(0) << 16U | byteAt(1) << 8U | byteAt(2);
        text += digits[three >> 18U];
        text += digits[three >> 12U & 63U];
        text += bytes.size() > 1 ? digits[three >> 6U & 63U] : '=';
        text += bytes.size() > 2 ? digits[three & 63U] : '=';
    }
}

} // namespace wickerlane::cli::view

#endif

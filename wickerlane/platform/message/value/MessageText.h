// Texts in messages.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGETEXT_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGETEXT_H

#include <cstdint>
#include <string_view>

namespace wickerlane {

/// Seeded, so that a sender of keys cannot choose where they fall.
[[nodiscard]] std::uint32_t hashOfKey(std::string_view key) noexcept;

[[nodiscard]] bool isUTF8(std::string_view text) noexcept;

} // namespace wickerlane

#endif

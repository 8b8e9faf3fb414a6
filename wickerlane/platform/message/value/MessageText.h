// Texts in messages.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGETEXT_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGETEXT_H

#include <string_view>

namespace wickerlane {

[[nodiscard]] bool isUTF8(std::string_view text) noexcept;

} // namespace wickerlane

#endif

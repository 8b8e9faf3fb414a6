// The syntax of URLs, by RFC 3986. Texts here are ASCII.
#ifndef WICKERLANE_PLATFORM_OBJECT_URLSYNTAX_H
#define WICKERLANE_PLATFORM_OBJECT_URLSYNTAX_H

#include <optional>
#include <string>
#include <string_view>

namespace wickerlane::urlsyntax {

/// Whether a path may hold the character as it is.
[[nodiscard]] bool isPathCharacter(char c) noexcept;

/// Adds a byte as "%41".
void appendEscaped(std::string &text, char byte);

/// The bytes that a text with escapes stands for.
[[nodiscard]] std::string decodedBytes(std::string_view text);

/// The same as text for people: escapes that are no UTF-8, and those of NUL, stay.
[[nodiscard]] std::string decodedText(std::string_view text);

/// The parts of a text, in which they lie.
struct Split {
    std::optional<std::string_view> scheme;
    std::optional<std::string_view> authority;
    std::string_view path;
    std::optional<std::string_view> query;
    std::optional<std::string_view> fragment;
};

[[nodiscard]] Split split(std::string_view text) noexcept;
[[nodiscard]] bool isValid(const Split &parts) noexcept;

/// The host of an authority, with its brackets if it has any.
[[nodiscard]] std::string_view hostOf(std::string_view authority) noexcept;

/// The absolute text of a reference, RFC 3986 5.2.2.
[[nodiscard]] std::string resolved(const Split &reference, const Split &base);

} // namespace wickerlane::urlsyntax

#endif

// Texts and optional values of which any bytes are valid ones: structs made of them travel between processes
// as they are, and one that came from a hostile process can be looked at without harm.
#ifndef HOARDD_MEDIA_PLAINVALUES_H
#define HOARDD_MEDIA_PLAINVALUES_H

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string_view>

namespace wickerlane::hoardd {

/// A text of fewer than `size` bytes; what is longer is cut off.
template <std::size_t size>
class PlainText {
public:
    PlainText() = default;
    template <std::convertible_to<std::string_view> Text>
    PlainText(const Text &given) {
        const std::string_view text = given;
        std::copy_n(text.begin(), std::min(text.size(), size - 1), characters.begin());
    }

    /// Ends at the first zero, or with the array.
    [[nodiscard]] std::string_view text() const noexcept {
        const auto *end = std::ranges::find(characters, '\0');
        return {characters.data(), static_cast<std::size_t>(end - characters.begin())};
    }
    operator std::string_view() const noexcept { return text(); }
    bool operator==(const std::convertible_to<std::string_view> auto &other) const {
        return text() == std::string_view(other);
    }

private:
    std::array<char, size> characters{};
};

/// std::optional in what is needed of it here, and trivially copyable.
template <class T>
class PlainOptional {
public:
    PlainOptional() = default;
    PlainOptional(std::nullopt_t) {}
    PlainOptional(const T &some) : isThere(1), content(some) {}
    PlainOptional(const std::optional<T> &other) : PlainOptional() {
        if (other)
            *this = *other;
    }

    [[nodiscard]] bool has_value() const noexcept { return isThere != 0; }
    explicit operator bool() const noexcept { return has_value(); }
    // Of a value that is there.
    [[nodiscard]] const T &operator*() const noexcept { return content; }
    [[nodiscard]] T &operator*() noexcept { return content; }
    [[nodiscard]] const T *operator->() const noexcept { return &content; }
    [[nodiscard]] T *operator->() noexcept { return &content; }
    [[nodiscard]] std::optional<T> asOptional() const {
        return has_value() ? std::optional(content) : std::nullopt;
    }
    void reset() { *this = PlainOptional(); }

private:
    std::uint32_t isThere = 0;
    T content{};
};

} // namespace wickerlane::hoardd

#endif

// How a picture looks, in a few bits that stay as they are when it is encoded again or resized.
#ifndef HOARDD_MEDIA_FINGERPRINT_H
#define HOARDD_MEDIA_FINGERPRINT_H

#include <cstdint>
#include <optional>
#include <span>

namespace wickerlane::hoardd {

/// Two hashes that look at different things. Pictures that look alike have hashes that differ in few bits;
/// that two pictures which do not should agree in both is unlikely.
struct Fingerprint {
    std::uint64_t difference = 0; ///< Which of 8 by 8 cells are lighter than a gradient over the picture.
    std::uint64_t frequency = 0;  ///< Which of its 63 lowest frequencies are positive.
    bool operator==(const Fingerprint &) const = default;
};

/// Pixels of one byte a channel, row by row without gaps.
struct PixelView {
    std::span<const std::uint8_t> bytes;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 3; ///< 1: grey, 3: red, green, blue
};

/// Nothing for a picture without features, such as one colour, a mere gradient, or next to nothing: too many
/// others would have the same hashes.
[[nodiscard]] std::optional<Fingerprint> fingerprintOf(const PixelView &picture);

} // namespace wickerlane::hoardd

#endif

#include "hoardd/media/Fingerprint.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numbers>

namespace wickerlane::hoardd {

namespace {

constexpr std::uint32_t side = 32;
using Greys = std::array<double, side * side>; ///< 0 to 255, of the picture brought to a square

/// What encoding a picture again may change by itself: a bit is set by more than this, so that it stays as it
/// is where a picture is flat.
constexpr double noise = 1;
constexpr double frequencyNoise = 4;
/// Bits that must be set, and in the difference hash clear, for a picture to have features.
constexpr int minBits = 12;

double greyAt(const PixelView &picture, std::uint32_t x, std::uint32_t y) {
    const std::size_t at = (std::size_t{y} * picture.width + x) * picture.channels;
    if (picture.channels == 1)
        return picture.bytes[at];
    return 0.299 * picture.bytes[at] + 0.587 * picture.bytes[at + 1] + 0.114 * picture.bytes[at + 2];
}

/// Where the part `index` of `parts` begins on a side of `length` pixels.
std::uint32_t startOf(std::uint32_t index, std::uint32_t parts, std::uint32_t length) {
    return static_cast<std::uint32_t>(std::uint64_t{index} * length / parts);
}

Greys greysOf(const PixelView &picture) {
    Greys greys{};
    for (std::uint32_t row = 0; row < side; ++row)
        for (std::uint32_t column = 0; column < side; ++column) {
            const std::uint32_t left = startOf(column, side, picture.width);
            const std::uint32_t top = startOf(row, side, picture.height);
            const std::uint32_t right = std::max(startOf(column + 1, side, picture.width), left + 1);
            const std::uint32_t bottom = std::max(startOf(row + 1, side, picture.height), top + 1);
            double sum = 0;
            for (std::uint32_t y = top; y < bottom; ++y)
                for (std::uint32_t x = left; x < right; ++x)
                    sum += greyAt(picture, x, y);
            greys[row * side + column] = sum / ((bottom - top) * (right - left));
        }
    return greys;
}

std::uint64_t differenceHash(const Greys &greys) {
    constexpr std::uint32_t rows = 8, columns = 9, cellHeight = side / rows;
    std::uint64_t hash = 0;
    for (std::uint32_t row = 0; row < rows; ++row) {
        double previous = 0;
        for (std::uint32_t column = 0; column < columns; ++column) {
            const std::uint32_t left = startOf(column, columns, side);
            const std::uint32_t right = startOf(column + 1, columns, side);
            double sum = 0;
            for (std::uint32_t y = row * cellHeight; y < (row + 1) * cellHeight; ++y)
                for (std::uint32_t x = left; x < right; ++x)
                    sum += greys[y * side + x];
            const double mean = sum / ((right - left) * cellHeight);
            if (column != 0)
                hash = hash << 1 | (mean > previous + noise ? 1U : 0U);
            previous = mean;
        }
    }
    return hash;
}

/// The cosine transform's basis, for the eight lowest frequencies.
struct Basis {
    std::array<std::array<double, side>, 8> waves{};
    Basis() {
        for (std::size_t frequency = 0; frequency < waves.size(); ++frequency)
            for (std::uint32_t at = 0; at < side; ++at)
                waves[frequency][at] =
                    std::cos(std::numbers::pi * static_cast<double>(frequency) * (at + 0.5) / side) *
                    std::sqrt((frequency == 0 ? 1.0 : 2.0) / side);
    }
};

std::uint64_t frequencyHash(const Greys &greys) {
    const Basis basis;
    std::array<std::array<double, side>, 8> across{}; // by horizontal frequency and row
    for (std::size_t u = 0; u < 8; ++u)
        for (std::uint32_t row = 0; row < side; ++row)
            for (std::uint32_t column = 0; column < side; ++column)
                across[u][row] += greys[row * side + column] * basis.waves[u][column];
    std::uint64_t hash = 0;
    for (std::size_t v = 0; v < 8; ++v)
        for (std::size_t u = 0; u < 8; ++u) {
            double amplitude = 0;
            for (std::uint32_t row = 0; row < side; ++row)
                amplitude += across[u][row] * basis.waves[v][row];
            // The first is how light the picture is, which says nothing of what it shows.
            hash = hash << 1 | (u + v != 0 && amplitude > frequencyNoise ? 1U : 0U);
        }
    return hash;
}

} // namespace

std::optional<Fingerprint> fingerprintOf(const PixelView &picture) {
    if (picture.width == 0 || picture.height == 0 ||
        picture.bytes.size() < std::size_t{picture.width} * picture.height * picture.channels)
        return std::nullopt;
    const Greys greys = greysOf(picture);
    const Fingerprint fingerprint{differenceHash(greys), frequencyHash(greys)};
    const int lighter = std::popcount(fingerprint.difference);
    if (lighter < minBits || lighter > 64 - minBits || std::popcount(fingerprint.frequency) < minBits)
        return std::nullopt;
    return fingerprint;
}

} // namespace wickerlane::hoardd

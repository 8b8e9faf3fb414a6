#include "hoardd/media/Fingerprint.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace wickerlane::hoardd {

namespace {

constexpr std::uint32_t side = 32;
using Greys = std::array<double, side * side>; ///< 0 to 255, of the picture brought to a square

/// What encoding a picture again may change by itself: a bit is set by more than this, so that it stays as it
/// is where a picture is flat.
constexpr double noise = 1;
constexpr double frequencyNoise = 3;
/// Values that must be larger than the noise, one way or the other, for a picture to have features.
constexpr int minDifferences = 12;
constexpr int minFrequencies = 20;
/// A picture that changes less than this from one cell to the next, across the direction in which it changes
/// most, is a gradient.
constexpr double minChangeAcross = 0.6;
/// So is one whose changes differ by less than this part of them from one cell to the next.
constexpr double minBend = 0.25;

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

/// Whether the picture is of one colour, or gets lighter or darker so smoothly, along lines or around a
/// point, that its hashes would tell little more than that.
bool isGradient(const Greys &greys) {
    const auto at = [&](std::uint32_t x, std::uint32_t y) { return greys[y * side + x]; };
    double xx = 0, xy = 0, yy = 0; // the structure tensor
    for (std::uint32_t y = 1; y < side; ++y)
        for (std::uint32_t x = 1; x < side; ++x) {
            const double falling = at(x, y) - at(x - 1, y - 1), rising = at(x, y - 1) - at(x - 1, y);
            const double along = (falling + rising) / 2, down = (falling - rising) / 2;
            xx += along * along;
            xy += along * down;
            yy += down * down;
        }
    double bends = 0;
    for (std::uint32_t y = 1; y + 1 < side; ++y)
        for (std::uint32_t x = 1; x + 1 < side; ++x) {
            const double bend = 4 * at(x, y) - at(x - 1, y) - at(x + 1, y) - at(x, y - 1) - at(x, y + 1);
            bends += bend * bend;
        }
    constexpr double cells = (side - 1) * (side - 1), innerCells = (side - 2) * (side - 2);
    const double leastChange = (xx + yy) / 2 - std::hypot((xx - yy) / 2, xy);
    return leastChange < minChangeAcross * minChangeAcross * cells ||
           bends / innerCells < minBend * minBend * (xx + yy) / cells;
}

/// How much lighter the picture is than the plane that fits it best, which is what light from one side adds.
Greys fromSlope(const Greys &greys) {
    constexpr double middle = (side - 1) / 2.0;
    double mean = 0, across = 0, down = 0, weight = 0;
    for (std::uint32_t row = 0; row < side; ++row)
        for (std::uint32_t column = 0; column < side; ++column) {
            const double grey = greys[row * side + column];
            mean += grey / (side * side);
            across += grey * (column - middle);
            down += grey * (row - middle);
            weight += (row - middle) * (row - middle);
        }
    Greys rest{};
    for (std::uint32_t row = 0; row < side; ++row)
        for (std::uint32_t column = 0; column < side; ++column)
            rest[row * side + column] = greys[row * side + column] - mean -
                                        (across * (column - middle) + down * (row - middle)) / weight;
    return rest;
}

/// The values of a hash as bits. Neighbours, which are often alike, go far apart: a search for hashes with
/// equal stretches of bits then finds fewer by chance.
struct Bits {
    std::uint64_t positive = 0;
    int decided = 0; ///< Values that are larger than the noise, one way or the other.

    void add(std::uint32_t index, double value, double least) {
        positive |= std::uint64_t{value > least} << index * 13 % 64;
        decided += std::abs(value) > least ? 1 : 0;
    }
};

Bits differencesOf(const Greys &rest) {
    constexpr std::uint32_t cells = 8, cellSide = side / cells;
    std::array<double, std::size_t{cells} * cells> sums{};
    for (std::uint32_t row = 0; row < side; ++row)
        for (std::uint32_t column = 0; column < side; ++column)
            sums[row / cellSide * cells + column / cellSide] += rest[row * side + column];
    Bits bits;
    for (std::uint32_t cell = 0; cell < sums.size(); ++cell)
        bits.add(cell, sums[cell] / (cellSide * cellSide), noise);
    return bits;
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

Bits frequenciesOf(const Greys &greys) {
    const Basis basis;
    std::array<std::array<double, side>, 8> across{}; // by horizontal frequency and row
    for (std::size_t u = 0; u < 8; ++u)
        for (std::uint32_t row = 0; row < side; ++row)
            for (std::uint32_t column = 0; column < side; ++column)
                across[u][row] += greys[row * side + column] * basis.waves[u][column];
    Bits bits;
    for (std::uint32_t v = 0; v < 8; ++v)
        for (std::uint32_t u = 0; u < 8; ++u) {
            double amplitude = 0;
            for (std::uint32_t row = 0; row < side; ++row)
                amplitude += across[u][row] * basis.waves[v][row];
            // The first is how light the picture is, which says nothing of what it shows.
            if (u + v != 0)
                bits.add(v * 8 + u, amplitude, frequencyNoise);
        }
    return bits;
}

} // namespace

std::optional<Fingerprint> fingerprintOf(const PixelView &picture) {
    if (picture.width == 0 || picture.height == 0 ||
        picture.bytes.size() < std::size_t{picture.width} * picture.height * picture.channels)
        return std::nullopt;
    const Greys greys = greysOf(picture);
    if (isGradient(greys))
        return std::nullopt;
    const Bits differences = differencesOf(fromSlope(greys)), frequencies = frequenciesOf(greys);
    if (differences.decided < minDifferences || frequencies.decided < minFrequencies)
        return std::nullopt;
    return Fingerprint{differences.positive, frequencies.positive};
}

} // namespace wickerlane::hoardd

// Fingerprints that differ by few bits, and finding all pairs of them.
#ifndef HOARDD_ANALYSIS_NEARFINGERPRINTS_H
#define HOARDD_ANALYSIS_NEARFINGERPRINTS_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "hoardd/media/Fingerprint.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::hoardd {

/// Bits by which each of the two hashes may differ: of the same picture, and of a similar one.
inline constexpr int maxBitsOfSame = 6;
inline constexpr int maxBitsOfSimilar = 12;

/// In how many bits two hashes differ.
// Without the processor's own instruction, which not every processor has that this runs on: the standard
// library would make a call of it, and most of the time of a scan.
[[nodiscard]] inline int hammingDistance(std::uint64_t one, std::uint64_t other) {
    std::uint64_t bits = one ^ other;
    bits -= bits >> 1 & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<int>(bits * 0x0101010101010101 >> 56);
}

/// Whether both hashes differ by so few bits.
[[nodiscard]] inline bool areNear(const Fingerprint &one, const Fingerprint &other, int maxBits) {
    return hammingDistance(one.difference, other.difference) <= maxBits &&
           hammingDistance(one.frequency, other.frequency) <= maxBits;
}

struct IndexedFingerprint {
    Fingerprint fingerprint;
    std::size_t index = 0; ///< Of what it belongs to.
};

/// Calls `found` with the indices of all pairs that are near by `maxBitsOfSame`, some of them more than once.
void findNearPairs(std::span<const IndexedFingerprint> fingerprints,
                   const Handler<void(std::size_t, std::size_t)> &found);

} // namespace wickerlane::hoardd

#endif

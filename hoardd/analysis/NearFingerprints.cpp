#include "hoardd/analysis/NearFingerprints.h"

#include <array>
#include <numeric>
#include <vector>

namespace wickerlane::hoardd {

namespace {

/// A hash is split into one band more than bits may differ: two near hashes are equal in at least one band.
constexpr int bands = maxBitsOfSame + 1;

std::size_t bandOf(std::uint64_t hash, int band) {
    const int first = 64 * band / bands, end = 64 * (band + 1) / bands;
    return hash >> first & ((std::uint64_t{1} << (end - first)) - 1);
}

/// Sorts by a band of one of the hashes; those that are equal in it keep their order.
void sortByBand(std::span<const IndexedFingerprint> entries, std::uint64_t Fingerprint::*hash, int band,
                std::vector<IndexedFingerprint> &sorted) {
    std::array<std::size_t, (std::size_t{1} << ((64 + bands - 1) / bands)) + 1> starts{};
    for (const IndexedFingerprint &entry : entries)
        ++starts[bandOf(entry.fingerprint.*hash, band) + 1];
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    sorted.resize(entries.size());
    for (const IndexedFingerprint &entry : entries)
        sorted[starts[bandOf(entry.fingerprint.*hash, band)]++] = entry;
}

/// Two bands, one of each hash. Fingerprints that are equal in both are in the same bucket.
struct BandPair {
    int ofDifference;
    int ofFrequency;
    [[nodiscard]] bool isSameBucket(const Fingerprint &a, const Fingerprint &b) const {
        return bandOf(a.difference, ofDifference) == bandOf(b.difference, ofDifference) &&
               bandOf(a.frequency, ofFrequency) == bandOf(b.frequency, ofFrequency);
    }
};

/// The near pairs within each bucket; the entries of a bucket are neighbours.
void findNearPairsInBuckets(std::span<const IndexedFingerprint> sorted, const BandPair &pair,
                            const Handler<void(std::size_t, std::size_t)> &found) {
    for (std::size_t i = 0; i < sorted.size(); ++i)
        for (std::size_t j = i + 1;
             j < sorted.size() && pair.isSameBucket(sorted[i].fingerprint, sorted[j].fingerprint); ++j)
            if (areNear(sorted[i].fingerprint, sorted[j].fingerprint, maxBitsOfSame))
                found(sorted[i].index, sorted[j].index);
}

} // namespace

void findNearPairs(std::span<const IndexedFingerprint> fingerprints,
                   const Handler<void(std::size_t, std::size_t)> &found) {
    std::vector<IndexedFingerprint> byFrequency, byBoth;
    for (int ofFrequency = 0; ofFrequency < bands; ++ofFrequency) {
        sortByBand(fingerprints, &Fingerprint::frequency, ofFrequency, byFrequency);
        for (int ofDifference = 0; ofDifference < bands; ++ofDifference) {
            sortByBand(byFrequency, &Fingerprint::difference, ofDifference, byBoth);
            findNearPairsInBuckets(byBoth, {ofDifference, ofFrequency}, found);
        }
    }
}

} // namespace wickerlane::hoardd

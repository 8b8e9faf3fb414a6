#include "hoardd/analysis/NearFingerprints.h"

#include <algorithm>
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
class BandSorter {
public:
    std::span<const IndexedFingerprint> sort(std::span<const IndexedFingerprint> entries,
                                             std::uint64_t Fingerprint::*hash, int band) {
        starts.fill(0);
        for (const IndexedFingerprint &entry : entries)
            ++starts[bandOf(entry.fingerprint.*hash, band) + 1];
        std::partial_sum(starts.begin(), starts.end(), starts.begin());
        sorted.resize(std::max(sorted.size(), entries.size()));
        for (const IndexedFingerprint &entry : entries)
            sorted[starts[bandOf(entry.fingerprint.*hash, band)]++] = entry;
        return std::span(sorted).first(entries.size());
    }

private:
    std::array<std::uint32_t, (std::size_t{1} << ((64 + bands - 1) / bands)) + 1> starts{};
    std::vector<IndexedFingerprint> sorted;
};

/// Calls `use` with each stretch of neighbours that are equal in a band.
template <class Use>
void forEachBucket(std::span<const IndexedFingerprint> sorted, std::uint64_t Fingerprint::*hash, int band,
                   const Use &use) {
    for (std::size_t first = 0, end = 0; first < sorted.size(); first = end) {
        const std::size_t bucket = bandOf(sorted[first].fingerprint.*hash, band);
        for (++end; end < sorted.size() && bandOf(sorted[end].fingerprint.*hash, band) == bucket;)
            ++end;
        if (end - first > 1)
            use(sorted.subspan(first, end - first));
    }
}

void findNearPairsAmong(std::span<const IndexedFingerprint> entries,
                        const Handler<void(std::size_t, std::size_t)> &found) {
    for (std::size_t i = 0; i < entries.size(); ++i)
        for (std::size_t j = i + 1; j < entries.size(); ++j)
            if (areNear(entries[i].fingerprint, entries[j].fingerprint, maxBitsOfSame))
                found(entries[i].index, entries[j].index);
}

/// Fewer are compared each with each.
constexpr std::size_t minSorted = 48;

} // namespace

// Bucket by bucket of the one hash, so that the sorting by the other stays within the processor's caches.
void findNearPairs(std::span<const IndexedFingerprint> fingerprints,
                   const Handler<void(std::size_t, std::size_t)> &found) {
    BandSorter ofAll, ofBucket;
    for (int ofFrequency = 0; ofFrequency < bands; ++ofFrequency)
        forEachBucket(ofAll.sort(fingerprints, &Fingerprint::frequency, ofFrequency), &Fingerprint::frequency,
                      ofFrequency, [&](std::span<const IndexedFingerprint> bucket) {
                          if (bucket.size() < minSorted)
                              return findNearPairsAmong(bucket, found);
                          for (int band = 0; band < bands; ++band)
                              forEachBucket(ofBucket.sort(bucket, &Fingerprint::difference, band),
                                            &Fingerprint::difference, band,
                                            [&](std::span<const IndexedFingerprint> near) {
                                                findNearPairsAmong(near, found);
                                            });
                      });
}

} // namespace wickerlane::hoardd

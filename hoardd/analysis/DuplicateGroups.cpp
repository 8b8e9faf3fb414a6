#include "hoardd/analysis/DuplicateGroups.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <tuple>

#include "hoardd/analysis/NearFingerprints.h"

namespace wickerlane::hoardd {

namespace {

/// Sets of items, by index, that are merged.
class DisjointSets {
public:
    explicit DisjointSets(std::size_t count) : parents(count) {
        std::iota(parents.begin(), parents.end(), 0);
    }

    std::size_t find(std::size_t item) {
        while (parents[item] != item)
            item = parents[item] = parents[parents[item]];
        return item;
    }
    void merge(std::size_t one, std::size_t other) { parents[find(one)] = find(other); }

    /// The sets that have several items.
    [[nodiscard]] std::vector<Cluster> clusters() {
        std::vector<Cluster> members(parents.size());
        for (std::size_t i = 0; i < parents.size(); ++i)
            members[find(i)].push_back(i);
        std::erase_if(members, [](const Cluster &each) { return each.size() < 2; });
        return members;
    }

private:
    std::vector<std::size_t> parents;
};

/// An item by index, with what it is sorted by, so that a sort need not look at the items all over memory.
template <class Value>
struct Sorted {
    Value value;
    std::size_t index;
};

void mergeEqualSums(std::span<const DuplicateItem> items, DisjointSets &sets) {
    std::vector<Sorted<std::uint64_t>> bySum;
    bySum.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        std::uint64_t beginning = 0; // hardly two sums that are not equal share it
        std::memcpy(&beginning, items[i].sum.data(), sizeof beginning);
        bySum.push_back({beginning, i});
    }
    std::ranges::sort(bySum, {}, &Sorted<std::uint64_t>::value);
    for (std::size_t first = 0; first < bySum.size(); ++first)
        for (std::size_t next = first + 1; next < bySum.size() && bySum[next].value == bySum[first].value &&
                                           sets.find(bySum[next].index) != sets.find(bySum[first].index);
             ++next)
            if (items[bySum[first].index].sum == items[bySum[next].index].sum)
                sets.merge(bySum[first].index, bySum[next].index);
}

void mergeSame(std::span<const DuplicateItem> items, DisjointSets &sets) {
    mergeEqualSums(items, sets);
    std::vector<IndexedFingerprint> fingerprints;
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].fingerprint)
            fingerprints.push_back({*items[i].fingerprint, i});
    findNearPairs(fingerprints, [&](std::size_t one, std::size_t other) {
        if (sets.find(one) != sets.find(other) && likenessOf(items[one], items[other]) == Likeness::same)
            sets.merge(one, other);
    });
}

/// Only what was taken within one burst is compared.
void mergeSimilar(std::span<const DuplicateItem> items, DisjointSets &sets) {
    std::vector<Sorted<double>> byDate;
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].fingerprint)
            byDate.push_back({items[i].date, i});
    std::ranges::sort(byDate, {}, &Sorted<double>::value);
    for (std::size_t i = 0; i < byDate.size(); ++i)
        for (std::size_t j = i + 1; j < byDate.size() && byDate[j].value - byDate[i].value <= burstSeconds;
             ++j)
            if (likenessOf(items[byDate[i].index], items[byDate[j].index]) == Likeness::similar)
                sets.merge(byDate[i].index, byDate[j].index);
}

} // namespace

std::vector<DuplicateGroup> findDuplicates(std::span<const DuplicateItem> items,
                                           std::span<const CannotLink> constraints) {
    std::vector<DuplicateGroup> groups;
    for (const Likeness likeness : {Likeness::same, Likeness::similar}) {
        DisjointSets sets(items.size());
        likeness == Likeness::same ? mergeSame(items, sets) : mergeSimilar(items, sets);
        for (const Cluster &cluster : splitByConstraints(items, likeness, sets.clusters(), constraints)) {
            DuplicateGroup &group = groups.emplace_back(DuplicateGroup{likeness, {}});
            for (const std::size_t member : cluster)
                group.keys.push_back(items[member].key);
            std::ranges::sort(group.keys);
        }
    }
    std::ranges::sort(groups, [](const DuplicateGroup &a, const DuplicateGroup &b) {
        return std::tie(a.likeness, a.keys.front()) < std::tie(b.likeness, b.keys.front());
    });
    return groups;
}

} // namespace wickerlane::hoardd

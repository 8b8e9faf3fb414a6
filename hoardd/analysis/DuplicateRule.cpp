#include "hoardd/analysis/DuplicateRule.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numeric>
#include <tuple>

namespace wickerlane::hoardd {

namespace {

/// Bits by which each of the two hashes may differ.
constexpr int mostOfSame = 6;
constexpr int mostOfSimilar = 12;
constexpr double burstSeconds = 60;
constexpr double sameDuration = 0.5;
constexpr double sameShape = 0.02; // of the ratio of the sides

/// Counted by hand: without the instruction for it, which not every processor has that this runs on, the
/// library's way is a call, and most of the time of a scan.
inline int differentBits(std::uint64_t one, std::uint64_t other) {
    std::uint64_t bits = one ^ other;
    bits -= bits >> 1 & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<int>(bits * 0x0101010101010101 >> 56);
}

bool agree(const Fingerprint &one, const Fingerprint &other, int most) {
    return differentBits(one.difference, other.difference) <= most &&
           differentBits(one.frequency, other.frequency) <= most;
}

bool haveOneShape(const DuplicateItem &one, const DuplicateItem &other) {
    const double a = static_cast<double>(one.width) * other.height;
    const double b = static_cast<double>(other.width) * one.height;
    return std::abs(a - b) <= sameShape * std::max(a, b);
}

/// Shortly after each other, as two pictures from one camera are, while a copy has its picture's own date or
/// one that has nothing to do with it. What resized it may have dropped parts of a second.
bool areShotsOfOneBurst(const DuplicateItem &one, const DuplicateItem &other) {
    const double apart = std::abs(one.date - other.date);
    const bool haveOneSize = one.width == other.width && one.height == other.height;
    return apart <= burstSeconds && (haveOneSize ? apart > 0 : apart >= 1);
}

/// 0 for equal bytes, then the more the more bits differ.
int distanceOf(const DuplicateItem &one, const DuplicateItem &other) {
    if (one.sum == other.sum)
        return 0;
    return 1 + differentBits(one.fingerprint->difference, other.fingerprint->difference) +
           differentBits(one.fingerprint->frequency, other.fingerprint->frequency);
}

/// Sets that are merged, of items by their index.
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
    [[nodiscard]] std::size_t size() const { return parents.size(); }

private:
    std::vector<std::size_t> parents;
};

/// A fingerprint that is compared with those that stand by it.
struct Entry {
    Fingerprint fingerprint;
    std::size_t item;
};

/// A hash is split into one band more than bits may differ: two such hashes are equal in one band.
constexpr int bands = mostOfSame + 1;

std::size_t bandOf(std::uint64_t hash, int band) {
    const int first = 64 * band / bands, end = 64 * (band + 1) / bands;
    return hash >> first & ((std::uint64_t{1} << (end - first)) - 1);
}

/// Sorts entries by a band of one of their hashes; those that are equal in it keep their order.
void sortByBand(const std::vector<Entry> &entries, std::uint64_t Fingerprint::*hash, int band,
                std::vector<Entry> &sorted) {
    std::array<std::size_t, (std::size_t{1} << ((64 + bands - 1) / bands)) + 1> starts{};
    for (const Entry &entry : entries)
        ++starts[bandOf(entry.fingerprint.*hash, band) + 1];
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    sorted.resize(entries.size());
    for (const Entry &entry : entries)
        sorted[starts[bandOf(entry.fingerprint.*hash, band)]++] = entry;
}

/// Calls `meet(i, j)` for pairs of items of which both hashes differ by at most `mostOfSame` bits; some come
/// more than once. The items are sorted by each pair of a band of one hash and a band of the other, and those
/// are compared that come to stand together.
template <class Meet>
void forAgreeing(std::span<const DuplicateItem> items, const Meet &meet) {
    std::vector<Entry> entries, byFrequency, byBoth;
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].fingerprint)
            entries.push_back({*items[i].fingerprint, i});
    const auto meetNeighbours = [&](int one, int other) {
        const auto standTogether = [&](const Entry &a, const Entry &b) {
            return bandOf(a.fingerprint.difference, one) == bandOf(b.fingerprint.difference, one) &&
                   bandOf(a.fingerprint.frequency, other) == bandOf(b.fingerprint.frequency, other);
        };
        for (std::size_t i = 0; i < byBoth.size(); ++i)
            for (std::size_t j = i + 1; j < byBoth.size() && standTogether(byBoth[i], byBoth[j]); ++j)
                if (agree(byBoth[i].fingerprint, byBoth[j].fingerprint, mostOfSame))
                    meet(byBoth[i].item, byBoth[j].item);
    };
    for (int other = 0; other < bands; ++other) {
        sortByBand(entries, &Fingerprint::frequency, other, byFrequency);
        for (int one = 0; one < bands; ++one) {
            sortByBand(byFrequency, &Fingerprint::difference, one, byBoth);
            meetNeighbours(one, other);
        }
    }
}

/// Calls `meet(i, j)` for pairs of items that were taken within one burst.
template <class Meet>
void forNeighboursInTime(std::span<const DuplicateItem> items, const Meet &meet) {
    std::vector<std::size_t> byDate;
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].fingerprint)
            byDate.push_back(i);
    std::ranges::sort(byDate, {}, [&](std::size_t i) { return items[i].date; });
    for (std::size_t i = 0; i < byDate.size(); ++i)
        for (std::size_t j = i + 1;
             j < byDate.size() && items[byDate[j]].date - items[byDate[i]].date <= burstSeconds; ++j)
            meet(byDate[i], byDate[j]);
}

/// Merges all items that are so much alike.
void mergeAlike(std::span<const DuplicateItem> items, Likeness likeness, DisjointSets &sets) {
    const auto meet = [&](std::size_t one, std::size_t other) {
        if (likenessOf(items[one], items[other]) == likeness)
            sets.merge(one, other);
    };
    if (likeness == Likeness::similar)
        return forNeighboursInTime(items, meet);
    forAgreeing(items, meet);
    std::vector<std::size_t> bySum(items.size());
    std::iota(bySum.begin(), bySum.end(), 0);
    std::ranges::sort(
        bySum, {}, [&](std::size_t i) -> const auto & { return items[i].sum; });
    for (std::size_t i = 1; i < bySum.size(); ++i)
        if (items[bySum[i - 1]].sum == items[bySum[i]].sum)
            sets.merge(bySum[i - 1], bySum[i]);
}

using Members = std::vector<std::size_t>; ///< Of a set, by index.

std::vector<Members> setsOfSeveral(DisjointSets &sets) {
    std::vector<Members> members(sets.size());
    for (std::size_t i = 0; i < sets.size(); ++i)
        members[sets.find(i)].push_back(i);
    std::erase_if(members, [](const Members &each) { return each.size() < 2; });
    return members;
}

/// Parts a set so that nobody is with somebody that it must be apart from: beginning with single items, those
/// that are most alike are brought together first.
class Parting {
public:
    Parting(std::span<const DuplicateItem> all, Likeness wanted, const Members &set)
        : items(all), likeness(wanted), members(set), parts(set.size()) {
        std::ranges::sort(members, {}, [&](std::size_t i) { return items[i].key; });
        for (std::size_t i = 0; i < members.size(); ++i)
            parts[i].assign(1, i);
        partOf.resize(members.size());
        std::iota(partOf.begin(), partOf.end(), 0);
        enemies.resize(members.size());
    }

    [[nodiscard]] std::optional<std::size_t> memberOf(std::int64_t key) const {
        const auto found =
            std::ranges::lower_bound(members, key, {}, [&](std::size_t i) { return items[i].key; });
        if (found == members.end() || items[*found].key != key)
            return std::nullopt;
        return static_cast<std::size_t>(found - members.begin());
    }
    void keepApart(std::size_t one, std::size_t other) {
        enemies[one].push_back(other);
        enemies[other].push_back(one);
    }

    std::vector<Members> make() {
        struct Tie {
            int distance;
            std::size_t one, other; // in the order of keys, so that ties of one distance have an order, too
        };
        std::vector<Tie> ties;
        for (std::size_t i = 0; i < members.size(); ++i)
            for (std::size_t j = i + 1; j < members.size(); ++j)
                if (likenessOf(items[members[i]], items[members[j]]) == likeness)
                    ties.push_back({distanceOf(items[members[i]], items[members[j]]), i, j});
        std::ranges::sort(ties, [](const Tie &a, const Tie &b) {
            return std::tie(a.distance, a.one, a.other) < std::tie(b.distance, b.one, b.other);
        });
        for (const Tie &tie : ties)
            join(partOf[tie.one], partOf[tie.other]);
        std::vector<Members> made;
        for (const Members &part : parts)
            if (part.size() > 1) {
                Members &indices = made.emplace_back();
                for (const std::size_t member : part)
                    indices.push_back(members[member]);
            }
        return made;
    }

private:
    void join(std::size_t into, std::size_t from) {
        if (into == from)
            return;
        if (parts[into].size() < parts[from].size())
            std::swap(into, from);
        for (const std::size_t member : parts[from])
            for (const std::size_t enemy : enemies[member])
                if (partOf[enemy] == into)
                    return;
        for (const std::size_t member : parts[from])
            partOf[member] = into;
        parts[into].insert(parts[into].end(), parts[from].begin(), parts[from].end());
        parts[from].clear();
    }

    std::span<const DuplicateItem> items;
    Likeness likeness;
    Members members;
    std::vector<Members> parts; // of indices into `members`, as all below
    std::vector<std::size_t> partOf;
    std::vector<Members> enemies;
};

std::vector<Members> obeying(std::span<const DuplicateItem> items, Likeness likeness,
                             std::vector<Members> sets, std::span<const NotDuplicates> apart) {
    std::map<std::int64_t, std::size_t> setOf; // of those that are to be apart from somebody
    for (const auto &[one, other] : apart)
        setOf[one] = setOf[other] = sets.size();
    for (std::size_t i = 0; i < sets.size(); ++i)
        for (const std::size_t item : sets[i])
            if (const auto found = setOf.find(items[item].key); found != setOf.end())
                found->second = i;
    std::map<std::size_t, Parting> partings;
    for (const auto &[one, other] : apart) {
        const std::size_t set = setOf[one];
        if (set == sets.size() || set != setOf[other])
            continue;
        Parting &parting = partings.try_emplace(set, items, likeness, sets[set]).first->second;
        parting.keepApart(*parting.memberOf(one), *parting.memberOf(other));
    }
    for (auto &[set, parting] : partings) {
        std::vector<Members> made = parting.make();
        sets[set].clear();
        std::ranges::move(made, std::back_inserter(sets));
    }
    std::erase_if(sets, [](const Members &each) { return each.empty(); });
    return sets;
}

} // namespace

bool mayBeLike(const Fingerprint &one, const Fingerprint &other) {
    return agree(one, other, mostOfSimilar);
}

bool mayBeLikeAny(const Fingerprint &one, std::span<const Fingerprint> others) {
    return std::ranges::any_of(others, [&](const Fingerprint &other) { return mayBeLike(one, other); });
}

std::optional<Likeness> likenessOf(const DuplicateItem &one, const DuplicateItem &other) {
    if (one.sum == other.sum)
        return Likeness::same;
    if (!one.fingerprint || !other.fingerprint || one.kind != other.kind ||
        std::abs(one.duration - other.duration) > sameDuration || !haveOneShape(one, other))
        return std::nullopt;
    if (agree(*one.fingerprint, *other.fingerprint, mostOfSame) && !areShotsOfOneBurst(one, other))
        return Likeness::same;
    if (areShotsOfOneBurst(one, other) && agree(*one.fingerprint, *other.fingerprint, mostOfSimilar))
        return Likeness::similar;
    return std::nullopt;
}

std::vector<DuplicateGroup> findDuplicates(std::span<const DuplicateItem> items,
                                           std::span<const NotDuplicates> apart) {
    std::vector<DuplicateGroup> groups;
    for (const Likeness likeness : {Likeness::same, Likeness::similar}) {
        DisjointSets sets(items.size());
        mergeAlike(items, likeness, sets);
        for (const Members &members : obeying(items, likeness, setsOfSeveral(sets), apart)) {
            DuplicateGroup &group = groups.emplace_back(DuplicateGroup{likeness, {}});
            for (const std::size_t member : members)
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

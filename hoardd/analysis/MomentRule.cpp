#include "hoardd/analysis/MomentRule.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace wickerlane::hoardd {

namespace {

constexpr double earthRadius = 6'371'000; // metres

double radians(double degrees) {
    return degrees * (std::numbers::pi / 180);
}

double gapAfter(std::span<const Interval> items, std::size_t index) {
    return items[index + 1].start - items[index].end;
}

/// Of the gaps between two items, the widest; of equal ones the first.
std::size_t widestGap(std::span<const Interval> items, std::size_t from, std::size_t to) {
    std::size_t widest = from;
    for (std::size_t gap = from + 1; gap < to; ++gap)
        if (gapAfter(items, gap) > gapAfter(items, widest))
            widest = gap;
    return widest;
}

bool isJump(const Interval &one, const Interval &next, const BoundaryRule &rule) {
    return next.start - one.end >= rule.minJumpSeconds && distance(*one.place, *next.place) > rule.maxMetres;
}

void markOutliers(std::span<const Interval> items, const BoundaryRule &rule, std::vector<bool> &boundaries) {
    std::vector<double> logarithms(boundaries.size());
    for (std::size_t gap = 0; gap < logarithms.size(); ++gap)
        logarithms[gap] = std::log(std::max(gapAfter(items, gap), rule.minGap));
    const double margin = std::log(rule.outlierFactor);
    for (std::size_t gap = 0; gap < logarithms.size(); ++gap) {
        const std::size_t first = gap - std::min(gap, boundaryNeighbours);
        const std::size_t last = std::min(gap + boundaryNeighbours, logarithms.size() - 1);
        // Summed again for each, in order: a running sum would depend on where the run began.
        double sum = 0;
        for (std::size_t other = first; other <= last; ++other)
            sum += other != gap ? logarithms[other] : 0;
        const auto neighbours = static_cast<double>(last - first);
        if (gapAfter(items, gap) >= rule.maxGap ||
            (neighbours > 0 && logarithms[gap] - sum / neighbours >= margin))
            boundaries[gap] = true;
    }
}

// Where some items in between have no place, the jump is taken to be where the most time passed.
void markJumps(std::span<const Interval> items, const BoundaryRule &rule, std::vector<bool> &boundaries) {
    std::optional<std::size_t> before;
    for (std::size_t index = 0; index < items.size(); ++index) {
        if (!items[index].place)
            continue;
        if (before && index - *before <= boundaryNeighbours && isJump(items[*before], items[index], rule))
            boundaries[widestGap(items, *before, index)] = true;
        before = index;
    }
}

} // namespace

std::vector<bool> findBoundaries(std::span<const Interval> items, const BoundaryRule &rule) {
    std::vector<bool> boundaries(items.empty() ? 0 : items.size() - 1);
    markOutliers(items, rule, boundaries);
    markJumps(items, rule, boundaries);
    return boundaries;
}

double distance(const Place &one, const Place &other) {
    const double south = std::sin(radians(other.latitude - one.latitude) / 2);
    const double east = std::sin(radians(other.longitude - one.longitude) / 2);
    const double chord =
        south * south + std::cos(radians(one.latitude)) * std::cos(radians(other.latitude)) * east * east;
    return 2 * earthRadius * std::asin(std::sqrt(std::clamp(chord, 0.0, 1.0)));
}

// As directions from the middle of the earth, so that it works across the date line.
std::optional<Place> centroid(std::span<const Interval> items) {
    double x = 0, y = 0, z = 0;
    for (const Interval &item : items) {
        if (!item.place)
            continue;
        const double latitude = radians(item.place->latitude), longitude = radians(item.place->longitude);
        x += std::cos(latitude) * std::cos(longitude);
        y += std::cos(latitude) * std::sin(longitude);
        z += std::sin(latitude);
    }
    const double length = std::sqrt(x * x + y * y + z * z);
    if (length < 1e-9)
        return std::nullopt;
    return Place{std::asin(std::clamp(z / length, -1.0, 1.0)) * (180 / std::numbers::pi),
                 std::atan2(y, x) * (180 / std::numbers::pi)};
}

std::vector<std::int64_t> reassignKeys(std::span<const std::vector<std::int64_t>> previousGroups) {
    struct Claim {
        std::size_t members;
        std::size_t group;
        std::int64_t previous;
    };
    std::vector<Claim> claims;
    for (std::size_t group = 0; group < previousGroups.size(); ++group) {
        std::unordered_map<std::int64_t, std::size_t> counts;
        for (const std::int64_t previous : previousGroups[group])
            if (previous != 0)
                ++counts[previous];
        for (const auto &[previous, members] : counts)
            claims.push_back({members, group, previous});
    }
    std::ranges::sort(claims, [](const Claim &a, const Claim &b) {
        return std::tuple(b.members, a.group, a.previous) < std::tuple(a.members, b.group, b.previous);
    });
    std::vector<std::int64_t> keys(previousGroups.size());
    std::unordered_set<std::int64_t> taken;
    for (const Claim &claim : claims)
        if (keys[claim.group] == 0 && taken.insert(claim.previous).second)
            keys[claim.group] = claim.previous;
    return keys;
}

} // namespace wickerlane::hoardd

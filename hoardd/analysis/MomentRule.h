// Where moments begin and end: the rule, apart from where assets are kept. docs/moments.md explains it.
#ifndef HOARDD_ANALYSIS_MOMENTRULE_H
#define HOARDD_ANALYSIS_MOMENTRULE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hoardd/media/Picture.h"

namespace wickerlane::hoardd {

/// A time and maybe a place: the instant of an asset, or a moment from its first asset to its last.
struct Interval {
    double start = 0; ///< Seconds; only differences count.
    double end = 0;   ///< Not before `start`.
    std::optional<Place> place;
};

/// When two neighbours in time belong to different groups.
struct BoundaryRule {
    double minGap;         ///< Seconds; a shorter gap counts as this long.
    double outlierFactor;  ///< A gap is a boundary if it is this multiple of its neighbours' geometric mean.
    double maxGap;         ///< Seconds; a gap this long is a boundary regardless of its neighbours.
    double maxMetres;      ///< Between two places; more is a jump,
    double minJumpSeconds; ///< unless less time lies between them, as in a train.
};

inline constexpr BoundaryRule momentRule{300, 12, 12 * 3600, 2'000, 300};
inline constexpr BoundaryRule momentListRule{12 * 3600, 3, 30 * 86400, 100'000, 3600};

/// How many gaps on either side a gap is compared with, and how many items may lie between two places that
/// are compared.
inline constexpr std::size_t boundaryNeighbours = 10;

/// How many items, counted from the place of one that came, went or changed, are between that place and the
/// nearest gap that surely is what it was.
inline constexpr std::size_t boundaryReach = boundaryNeighbours + 1;

/// For each gap, that between item i and item i + 1, whether it is a boundary. The items are in order of
/// time. What is said of the gaps at either end is final only at an end of all items: in a part of them,
/// `boundaryReach` items at either end are needed to know about the others.
[[nodiscard]] std::vector<bool> findBoundaries(std::span<const Interval> items, const BoundaryRule &rule);

/// Metres between two places, along the ground.
[[nodiscard]] double distance(const Place &one, const Place &other);

/// The middle of the places of those that have one; nothing when none has, or when there is no middle.
[[nodiscard]] std::optional<Place> centroid(std::span<const Interval> items);

/// Gives new groups the keys of old ones. Takes, for each new group, the old groups of its members (0 for
/// none). A key goes to the group that shares the most members with the old one. 0 for a group that gets a
/// new key.
[[nodiscard]] std::vector<std::int64_t>
reassignKeys(std::span<const std::vector<std::int64_t>> previousGroups);

} // namespace wickerlane::hoardd

#endif

// Where moments begin and end: the rule, apart from where assets are kept. docs/moments.md tells it in words.
#ifndef HOARDD_ANALYSIS_MOMENTRULE_H
#define HOARDD_ANALYSIS_MOMENTRULE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hoardd/media/Picture.h"

namespace wickerlane::hoardd {

/// What lies in time, and maybe at a place: an asset at its instant, or a moment from its first asset to its
/// last.
struct Stay {
    double start = 0; ///< Seconds; only differences count.
    double end = 0;   ///< Not before `start`.
    std::optional<Place> place;
};

/// When two neighbours in time belong to different groups.
struct BorderRule {
    double shortestGap; ///< Seconds; a shorter gap counts as this long.
    double outstanding; ///< A gap so many times as long as its neighbours' geometric mean is a border.
    double longestGap;  ///< Seconds; a gap this long is a border whatever its neighbours are.
    double jumpMetres;  ///< Between two places; more is a jump,
    double jumpSeconds; ///< unless less time lies between them, as in a train.
};

inline constexpr BorderRule momentRule{300, 12, 12 * 3600, 2'000, 300};
inline constexpr BorderRule momentListRule{12 * 3600, 3, 30 * 86400, 100'000, 3600};

/// A gap is compared with so many on either side, and two places with so few items between them.
inline constexpr std::size_t borderNeighbours = 10;

/// How many items, counted from the place of one that came, went or changed, are between that place and the
/// nearest gap that surely is what it was.
inline constexpr std::size_t borderReach = borderNeighbours + 1;

/// For each gap, that between item i and item i + 1, whether it is a border. The items are in their order in
/// time. What is said of the gaps at either end is final only at an end of all items: of a run from their
/// midst, `borderReach` items at either end are needed to tell of the others.
[[nodiscard]] std::vector<bool> bordersOf(std::span<const Stay> items, const BorderRule &rule);

/// Metres between two places, along the ground.
[[nodiscard]] double distance(const Place &one, const Place &other);

/// The middle of the places of those that have one; nothing when none has, or the middle is nowhere.
[[nodiscard]] std::optional<Place> middleOf(std::span<const Stay> items);

/// Says which new group goes on as which old one, given of each new group the old groups of its members (0
/// for none): those that share the most members first. 0 for a group that is a new one.
[[nodiscard]] std::vector<std::int64_t> successionOf(std::span<const std::vector<std::int64_t>> formerGroups);

} // namespace wickerlane::hoardd

#endif

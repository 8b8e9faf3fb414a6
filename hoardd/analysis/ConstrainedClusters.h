// Splitting clusters of assets in which some must not be together.
#ifndef HOARDD_ANALYSIS_CONSTRAINEDCLUSTERS_H
#define HOARDD_ANALYSIS_CONSTRAINEDCLUSTERS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "hoardd/analysis/DuplicateRule.h"

namespace wickerlane::hoardd {

/// Two assets, by their keys, that can't be in one cluster: a person has said that they are no duplicates of
/// each other.
using CannotLink = std::pair<std::int64_t, std::int64_t>;

/// Items that belong together, by index.
using Cluster = std::vector<std::size_t>;

/// Splits clusters so that they obey the constraints, and leaves out what is single then. Of several ways to
/// split, the one is taken that keeps together what is most alike.
[[nodiscard]] std::vector<Cluster> splitByConstraints(std::span<const DuplicateItem> items, Likeness likeness,
                                                      std::vector<Cluster> clusters,
                                                      std::span<const CannotLink> constraints);

} // namespace wickerlane::hoardd

#endif

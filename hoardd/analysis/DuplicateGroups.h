// Which assets of a library are the same picture, or much alike.
#ifndef HOARDD_ANALYSIS_DUPLICATEGROUPS_H
#define HOARDD_ANALYSIS_DUPLICATEGROUPS_H

#include <cstdint>
#include <span>
#include <vector>

#include "hoardd/analysis/ConstrainedClusters.h"
#include "hoardd/analysis/DuplicateRule.h"

namespace wickerlane::hoardd {

struct DuplicateGroup {
    Likeness likeness = Likeness::same;
    std::vector<std::int64_t> keys; ///< Two or more, in order.
    bool operator==(const DuplicateGroup &) const = default;
};

/// All groups of assets that are alike, "same" before "similar" and then by their first keys. What is like
/// one member of a group belongs to it, unless a constraint keeps it apart. The order of the items does not
/// matter.
[[nodiscard]] std::vector<DuplicateGroup> findDuplicates(std::span<const DuplicateItem> items,
                                                         std::span<const CannotLink> constraints);

} // namespace wickerlane::hoardd

#endif

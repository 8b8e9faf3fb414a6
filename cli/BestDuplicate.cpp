#include "cli/BestDuplicate.h"

#include <cstddef>
#include <cstdint>
#include <tuple>

namespace wickerlane::cli {

bool isBetterDuplicate(const AssetRecord &one, const AssetRecord &other) {
    const auto rank = [](const AssetRecord &each) {
        const std::size_t said = (each.favourite ? 1U : 0U) + (each.rating > 0 ? 1U : 0U) +
                                 (each.caption.empty() ? 0U : 1U) + (each.keywords.empty() ? 0U : 1U);
        return std::tuple(static_cast<std::uint64_t>(each.width) * static_cast<std::uint64_t>(each.height),
                          each.byteSize, said, -each.dateAdded);
    };
    return rank(one) > rank(other);
}

} // namespace wickerlane::cli

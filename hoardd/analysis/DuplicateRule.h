// Which assets are the same picture, or much alike: the rule, apart from where assets are kept.
// docs/duplicates.md tells it in words.
#ifndef HOARDD_ANALYSIS_DUPLICATERULE_H
#define HOARDD_ANALYSIS_DUPLICATERULE_H

#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "hoardd/media/Fingerprint.h"
#include "wickerlane/store/AssetRecord.h"

namespace wickerlane::hoardd {

/// What is compared of an asset.
struct DuplicateItem {
    std::int64_t key = 0;
    store::AssetKind kind = store::AssetKind::photo;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    double date = 0;
    double duration = 0;
    store::Sha256 sum{};
    std::optional<Fingerprint> fingerprint; ///< Nothing for what has no features, or no picture.
};

/// The numbers stand in the database.
enum class Likeness : std::uint8_t {
    same = 0,    ///< The same picture, byte for byte, encoded anew or resized.
    similar = 1, ///< Another picture of the same, taken in one burst.
};

/// What two assets are to each other; nothing when they are different pictures.
[[nodiscard]] std::optional<Likeness> likenessOf(const DuplicateItem &one, const DuplicateItem &other);

/// Whether the hashes alone allow two assets to be alike in any way.
[[nodiscard]] bool mayBeLike(const Fingerprint &one, const Fingerprint &other);

/// Whether any of the others may be like the one: for a single new asset, when there is no time to sort.
[[nodiscard]] bool mayBeLikeAny(const Fingerprint &one, std::span<const Fingerprint> others);

/// Two assets that a person has said are no duplicates of each other, by their keys.
using NotDuplicates = std::pair<std::int64_t, std::int64_t>;

struct DuplicateGroup {
    Likeness likeness = Likeness::same;
    std::vector<std::int64_t> keys; ///< Two or more, in order.
    bool operator==(const DuplicateGroup &) const = default;
};

/// All groups of assets that are alike, "same" before "similar" and then by their first keys. Who is like one
/// of a group belongs to it, unless it was said to be no duplicate of one of them: of several ways to obey
/// that, the one is taken that keeps together what is most alike. The order of the items does not matter.
[[nodiscard]] std::vector<DuplicateGroup> findDuplicates(std::span<const DuplicateItem> items,
                                                         std::span<const NotDuplicates> apart);

} // namespace wickerlane::hoardd

#endif

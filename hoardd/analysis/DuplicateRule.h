// When two assets are the same picture, or much alike: the rule, apart from where assets are kept.
// docs/duplicates.md explains it.
#ifndef HOARDD_ANALYSIS_DUPLICATERULE_H
#define HOARDD_ANALYSIS_DUPLICATERULE_H

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hoardd/media/Fingerprint.h"
#include "wickerlane/model/AssetRecord.h"

namespace wickerlane::hoardd {

/// What is compared of an asset.
struct DuplicateItem {
    std::int64_t key = 0;
    AssetKind kind = AssetKind::photo;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    double date = 0;
    double duration = 0;
    Sha256 sum{};
    std::optional<Fingerprint> fingerprint; ///< Nothing for what has no features, or no picture.
};

/// The numbers stand in the database.
enum class Likeness : std::uint8_t {
    same = 0,    ///< The same picture: byte for byte, encoded again or resized.
    similar = 1, ///< Another picture of the same, taken in one burst.
};

/// The longest time between two shots of one burst.
inline constexpr double burstSeconds = 60;

/// What two assets are to each other; nothing when they are different pictures.
[[nodiscard]] std::optional<Likeness> likenessOf(const DuplicateItem &one, const DuplicateItem &other);

/// How much two assets that are alike differ: 0 for equal bytes, then more with each bit that differs.
[[nodiscard]] int distanceOf(const DuplicateItem &one, const DuplicateItem &other);

/// Whether the hashes alone allow two assets to be alike in any way.
[[nodiscard]] bool mayBeLike(const Fingerprint &one, const Fingerprint &other);

/// The places of those that may be like the one: for a single new asset, when there is no time to sort.
[[nodiscard]] std::vector<std::size_t> mayBeLike(const Fingerprint &one, std::span<const Fingerprint> others);

} // namespace wickerlane::hoardd

#endif

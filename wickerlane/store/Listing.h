// What is asked of a library's store, and what it answers besides assets and albums.
#ifndef WICKERLANE_STORE_LISTING_H
#define WICKERLANE_STORE_LISTING_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetKind.h"

namespace wickerlane::store {

/// Which assets, in which order.
struct Listing {
    std::optional<AssetKind> kind{}; ///< All kinds when there is none.
    std::int64_t album = 0;          ///< Only those in that album, by its primary key; 0 for all.
    bool newestFirst = false;        ///< By the date that is shown, those of one date by age in the library.
    std::size_t offset = 0;          ///< How many of the first to leave out.
    std::size_t limit = std::numeric_limits<std::size_t>::max();
};

struct AssetCounts {
    std::uint64_t photos = 0;
    std::uint64_t videos = 0;
    std::uint64_t photoBytes = 0; ///< Of the originals.
    std::uint64_t videoBytes = 0;
};

} // namespace wickerlane::store

#endif

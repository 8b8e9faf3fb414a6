// How much room a library takes.
#ifndef HOARDD_UPKEEP_SIZES_H
#define HOARDD_UPKEEP_SIZES_H

#include <cstdint>
#include <map>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// The numbers travel.
enum class SizeKind : std::uint32_t {
    photos = 1,   ///< Originals of photos.
    videos = 2,   ///< Originals of videos.
    derived = 4,  ///< Thumbnails and edited renditions.
    database = 8, ///< The store, and what else hoardd keeps beside it.
};

/// Bytes of each kind, by its number. Looks at every derived file.
[[nodiscard]] Result<std::map<std::uint32_t, std::uint64_t>> librarySizes(Library &library);

} // namespace wickerlane::hoardd

#endif

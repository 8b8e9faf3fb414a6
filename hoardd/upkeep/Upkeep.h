// What is known and done of a library as a whole.
#ifndef HOARDD_UPKEEP_UPKEEP_H
#define HOARDD_UPKEEP_UPKEEP_H

#include <map>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// What kinds of sizes there are; the numbers travel.
enum class SizeKind : std::uint32_t {
    photos = 1,   ///< Originals of photos.
    videos = 2,   ///< Originals of videos.
    derived = 4,  ///< Thumbnails and edited renditions.
    database = 8, ///< The store, and what else hoardd keeps beside it.
};

/// Bytes of each kind, by its number. Looks at every derived file. Nothing, with the reason, on failure.
[[nodiscard]] std::optional<std::map<std::uint32_t, std::uint64_t>> sizesOf(Library &library,
                                                                            std::string &problem);

/// How long repairLibrary() would take, in seconds, at least 1: from what there is to do. Nothing, with the
/// reason, on failure.
[[nodiscard]] std::optional<std::int64_t> secondsToRepair(const Library &library, std::string &problem);

/// Takes all assets and albums out of the library that were added after a date (seconds since 2001-01-01
/// 00:00:00 UTC), and all bulletins. An empty text on success, else the reason.
[[nodiscard]] std::string removeAddedSince(Library &library, double date);

} // namespace wickerlane::hoardd

#endif

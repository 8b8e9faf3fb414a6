// The bulletin board: what has happened in shared albums.
#ifndef HOARDD_ALBUMS_BULLETINBOARD_H
#define HOARDD_ALBUMS_BULLETINBOARD_H

#include <optional>

#include "hoardd/library/Library.h"
#include "wickerlane/platform/object/Array.h"

namespace wickerlane::hoardd {

/// The dictionaries of all bulletins, newest first.
[[nodiscard]] Result<Ref<MutableArray>> currentBulletins(Library &library);
/// How many there are.
[[nodiscard]] Result<std::int64_t> badgeCount(Library &library);
/// The small thumbnail of a bulletin's newest asset. Fails when there is none.
[[nodiscard]] Result<Ref<Data>> bulletinThumbnail(Library &library, std::uint64_t recordID);
/// Removes all up to a record.
[[nodiscard]] Result<> clearBulletins(Library &library, std::uint64_t lastRecordID);

/// Deletes those that have expired at a time. Gives when the next one expires;
/// nothing when there is none.
[[nodiscard]] Result<std::optional<double>> expireBulletins(Library &library, double now);

} // namespace wickerlane::hoardd

#endif

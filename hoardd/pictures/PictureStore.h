// What the store says of thumbnails and edited renditions. The functions work in a transaction of the
// caller's.
#ifndef HOARDD_PICTURES_PICTURESTORE_H
#define HOARDD_PICTURES_PICTURESTORE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/store/AssetRecord.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// An asset's edited rendition, of which there is at most one.
struct RenditionRow {
    std::string_view assetUUID;
    std::string_view filename;
    const store::Sha256 &sum;
    Bytes properties; ///< The editor's own, as a property list; may be empty.
};
/// Thumbnails of it are due from then on.
[[nodiscard]] Result<> storeRendition(sqlite::Database &database, std::int64_t asset,
                                      const RenditionRow &row);

/// The thumbnails of an asset are in their places. Its thumbnail index counts up, which tells caches that
/// there are others now: if `newIndex`, and always when they were due.
[[nodiscard]] Result<> storeThumbnails(sqlite::Database &database, std::int64_t asset, bool newIndex);

/// Why the picture of an asset whose thumbnails are due can't be decoded. Nothing when they are not due.
[[nodiscard]] Result<> storeUndecodable(sqlite::Database &database, std::int64_t asset,
                                        std::string_view reason);

/// The larger thumbnail of an asset is given up until it is asked for.
[[nodiscard]] Result<> storePurgedPreview(sqlite::Database &database, std::string_view uuid);

/// The UUIDs of the assets in shared albums that have thumbnails; the oldest come first.
[[nodiscard]] Result<std::vector<std::string>> sharedAssetsWithThumbnails(sqlite::Database &database);

} // namespace wickerlane::hoardd

#endif

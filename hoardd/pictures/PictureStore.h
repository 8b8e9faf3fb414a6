// What the store says of thumbnails and edited renditions. The functions work in a transaction of the
// caller's.
#ifndef HOARDD_PICTURES_PICTURESTORE_H
#define HOARDD_PICTURES_PICTURESTORE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// The size of what is derived from an asset is unknown until a caller that holds its lock stores it; see
/// DerivedSize.h.
[[nodiscard]] Result<> storeDerivedChange(sqlite::Database &database, std::int64_t asset);
/// It is known, unless thumbnails are due. The table is that of the assets in the library or in the trash.
[[nodiscard]] Result<> storeDerivedBytes(sqlite::Database &database, std::string_view table,
                                         std::int64_t asset, std::uint64_t bytes);

/// An asset's edited rendition, of which there is at most one.
struct RenditionRow {
    std::string_view assetUUID;
    std::string_view filename;
    const Sha256 &sum;
    Bytes properties; ///< The editor's own, as a property list; may be empty.
};
/// Thumbnails of it are due from then on, and storeDerivedChange() is done.
[[nodiscard]] Result<> storeRendition(sqlite::Database &database, std::int64_t asset,
                                      const RenditionRow &row);

/// The UUIDs of the assets that got their renditions after a date.
[[nodiscard]] Result<std::vector<std::string>> assetsEditedAfter(sqlite::Database &database, double date);

/// The thumbnails of an asset are in their places, synced. Its thumbnail index counts up, which tells caches
/// that there are others now: if `newIndex`, and always when they were due.
[[nodiscard]] Result<> storeThumbnails(sqlite::Database &database, std::int64_t asset, bool newIndex);

/// The thumbnails of an asset, which were due, are in their places, and synced with that round; see LateSync.
[[nodiscard]] Result<> storeDueThumbnails(sqlite::Database &database, std::int64_t asset, std::int64_t round);

/// Why the picture of an asset whose thumbnails are due can't be decoded, and what refused it. Nothing when
/// they are not due.
[[nodiscard]] Result<> storeUndecodable(sqlite::Database &database, std::int64_t asset,
                                        std::string_view reason, std::string_view decoders);

/// What a record says of its picture, its date only if asked to: the picture has been read, and can be
/// decoded unless the record has a problem.
[[nodiscard]] Result<> storeFacts(sqlite::Database &database, const AssetRecord &record, bool withDate);

/// Assets of whose files not all has been read, since they were saved before it was kept: of those with
/// primary keys after `last`, in their order, at most `limit`.
[[nodiscard]] Result<std::vector<AssetRecord>> assetsWithLateFacts(sqlite::Database &database,
                                                                   std::int64_t last, std::size_t limit);
/// Stores what a record says of the clock, unless it is known by now or the date has been changed.
[[nodiscard]] Result<> storeClock(sqlite::Database &database, const AssetRecord &record);

/// Stores what a record says of the camera, its rating, caption and keywords, so far as it is due: what
/// people have set stays. Nothing is due then.
[[nodiscard]] Result<> storeDetails(sqlite::Database &database, const AssetRecord &record);

/// The thumbnails of assets that can't be decoded are due again: of those that `decoders` have not refused;
/// or of all, without them. Gives how many there are.
[[nodiscard]] Result<std::int64_t> storeUndecodableDue(sqlite::Database &database,
                                                       std::optional<std::string_view> decoders);

/// The larger thumbnail of an asset is given up until it is asked for.
[[nodiscard]] Result<> storePurgedPreview(sqlite::Database &database, std::string_view uuid);

/// Until a time, the larger thumbnail of an asset is not given up.
[[nodiscard]] Result<> keepPreviewUntil(sqlite::Database &database, std::int64_t asset, double date);

/// The assets in shared albums whose thumbnails show what they are to show, and can be made again of it; the
/// oldest come first.
[[nodiscard]] Result<std::vector<AssetRecord>> sharedAssetsWithThumbnails(sqlite::Database &database);

/// An asset has no edited rendition any more: its thumbnails are due, and storeDerivedChange()
/// is done. Thumbnails are not due when it had none.
[[nodiscard]] Result<> storeNoRendition(sqlite::Database &database, const AssetRecord &asset);

/// An asset has no thumbnails, and none are due.
[[nodiscard]] Result<> storeNoThumbnails(sqlite::Database &database, std::int64_t asset);

/// Other properties of the edited rendition that an asset has.
[[nodiscard]] Result<> storeRenditionProperties(sqlite::Database &database, std::string_view uuid,
                                                Bytes properties);

} // namespace wickerlane::hoardd

#endif

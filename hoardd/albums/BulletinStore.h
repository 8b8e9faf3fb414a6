// Bulletins in the store. The functions work in a transaction of the caller's.
#ifndef HOARDD_ALBUMS_BULLETINSTORE_H
#define HOARDD_ALBUMS_BULLETINSTORE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// After so long, in seconds, a bulletin expires.
inline constexpr double bulletinLifetime = 30 * 86'400;

/// The numbers are in the store, and in what clients get.
enum class BulletinType : std::int64_t {
    assetsAdded = 0, ///< To a shared album.
    originalsLost =
        1, ///< Originals are damaged or missing, or not what was saved. It has no album or sender.
};

struct BulletinRecord {
    BulletinType type = BulletinType::assetsAdded;
    std::int64_t id = 0;         ///< Ascends with time.
    std::int64_t originalID = 0; ///< Of the first of the bulletins that it continues.
    double originalDate = 0;     ///< Of that one.
    double date = 0;             ///< Seconds since 2001-01-01 00:00:00 UTC.
    std::int64_t photos = 0;     ///< How many it is about.
    std::int64_t videos = 0;
    std::string albumUUID;
    std::string albumName;
    std::string assetUUID;     ///< The newest asset; empty when it has gone.
    std::string assetFilename; ///< Of its original.
    bool assetIsVideo = false;
    bool hasThumbnail = false;
    std::string sender; ///< May be empty.
};

/// Makes a bulletin of an asset that somebody added to a shared album. What is added to one album within ten
/// minutes is gathered in one bulletin. Expired ones are deleted.
[[nodiscard]] Result<> addAssetBulletin(sqlite::Database &database, const AssetRecord &asset,
                                        const AlbumRecord &album, std::string_view sender, double date);

/// Has an asset leave the bulletins that count it in an album. Before it is taken out of the album.
[[nodiscard]] Result<> leaveAlbumBulletins(sqlite::Database &database, std::int64_t album,
                                           std::int64_t asset);

/// Makes a bulletin of an asset whose original or companion was found to be faulty. Those of one day are
/// gathered. An asset leaves it when it is deleted.
[[nodiscard]] Result<> addOriginalBulletin(sqlite::Database &database, const AssetRecord &asset, double date);

/// Those that have not expired at a time and are about something that is there, newest first. What can't be
/// an object is left out, also of the count.
[[nodiscard]] Result<std::vector<BulletinRecord>> currentBulletins(sqlite::Database &database, double now);
[[nodiscard]] Result<std::int64_t> countCurrentBulletins(sqlite::Database &database, double now);
[[nodiscard]] Result<std::optional<BulletinRecord>> bulletinWithID(sqlite::Database &database,
                                                                   std::uint64_t id);
/// When the oldest was made; nothing when there is none.
[[nodiscard]] Result<std::optional<double>> firstBulletinDate(sqlite::Database &database);
/// Deletes those that have expired at a time.
[[nodiscard]] Result<> deleteExpiredBulletins(sqlite::Database &database, double now);
/// Deletes what happened in shared albums after a date. A bulletin that began before it tells only of what
/// was added up to then and is still in the album.
[[nodiscard]] Result<> deleteBulletinsAfter(sqlite::Database &database, double date);
/// Deletes all up to a record.
[[nodiscard]] Result<> deleteBulletins(sqlite::Database &database, std::uint64_t lastID);

} // namespace wickerlane::hoardd

#endif

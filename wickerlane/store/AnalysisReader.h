// What hoardd has made of a library, for readers of its store: moments, lists of them, duplicates, the cloud
// feed.
#ifndef WICKERLANE_STORE_ANALYSISREADER_H
#define WICKERLANE_STORE_ANALYSISREADER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/StoredObject.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// What moments and lists of moments are called in the URIs of their IDs.
inline constexpr std::string_view momentEntity = "Moment";
inline constexpr std::string_view momentListEntity = "MomentList";

/// Assets that were made at one time and place.
struct MomentRecord {
    std::int64_t primaryKey = 0;
    std::int64_t list = 0; ///< The primary key of its list; 0 when it is in none yet.
    double startDate = 0;  ///< Of its first asset, in seconds since 2001-01-01 00:00:00 UTC.
    double endDate = 0;    ///< Of its last.
    std::uint64_t assetCount = 0;
    std::uint64_t photoCount = 0; ///< Known once it has been analyzed, as all below.
    std::uint64_t videoCount = 0;
    std::optional<double> latitude; ///< Degrees, of the middle; with a longitude or not at all. Always known.
    std::optional<double> longitude;
    std::string keyAsset; ///< The UUID of the asset that stands for it; empty when it has none.
    bool isAnalyzed = false;
};

/// Moments that belong together: a journey, a time at home.
struct MomentListRecord {
    std::int64_t primaryKey = 0;
    double startDate = 0;
    double endDate = 0;
    std::uint64_t momentCount = 0;
    std::uint64_t assetCount = 0;
    std::string keyAsset; ///< As above.
    bool isAnalyzed = false;
};

/// Assets that are alike.
struct DuplicatesRecord {
    bool isSame = false; ///< The same picture, encoded again or resized; else similar ones, of a burst.
    std::vector<std::string> uuids;
};

/// What came into a shared album within a short time.
struct FeedEntryRecord {
    std::string albumUUID;
    double startDate = 0; ///< When the first was added, in seconds since 2001-01-01 00:00:00 UTC.
    double endDate = 0;   ///< When the last was.
    std::vector<std::string> uuids;
};

/// Reads over a connection of its own, which never blocks or changes the store. One thread at a time.
class WL_EXPORT AnalysisReader {
public:
    [[nodiscard]] static Result<AnalysisReader> open(const LibraryPaths &paths);

    [[nodiscard]] Result<std::vector<MomentRecord>> moments();         ///< In the order of time.
    [[nodiscard]] Result<std::vector<MomentListRecord>> momentLists(); ///< In the order of time.
    /// The UUIDs of a moment's assets, in the order of time.
    [[nodiscard]] Result<std::vector<std::string>> assetsOfMoment(std::int64_t primaryKey);
    /// The same before the similar, the oldest in the library first.
    [[nodiscard]] Result<std::vector<DuplicatesRecord>> duplicates();

    // What the operations on one moment or list ask for.
    [[nodiscard]] Ref<StoredObject> objectOf(const MomentRecord &moment) const;
    [[nodiscard]] Ref<StoredObject> objectOf(const MomentListRecord &list) const;

    /// The cloud feed; the newest first.
    [[nodiscard]] Result<std::vector<FeedEntryRecord>> cloudFeed();

    /// Whether all assets are in moments, and all moments and lists have been analyzed.
    [[nodiscard]] Result<bool> areMomentsComplete();
    /// Whether all assets have been looked at, and the groups are what they should be.
    [[nodiscard]] Result<bool> areDuplicatesComplete();

private:
    AnalysisReader(sqlite::Database opened, std::string uuid)
        : database(std::move(opened)), storeUUID(std::move(uuid)) {}
    sqlite::Database database;
    std::string storeUUID;
};

} // namespace wickerlane::store

#endif

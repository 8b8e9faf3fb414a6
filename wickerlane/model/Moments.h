// What hoardd has found out about the assets: moments, lists of them, duplicates, the cloud feed.
#ifndef WICKERLANE_MODEL_MOMENTS_H
#define WICKERLANE_MODEL_MOMENTS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wickerlane {

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
    std::vector<std::string> uuids{}; ///< Of its assets, in the order of time; only if they were asked for.
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

/// Which moments: those that begin in a time, a page of them in the order in which they begin.
struct MomentQuery {
    std::optional<double> from{};  ///< Not before; seconds since 2001-01-01 00:00:00 of the camera's clock.
    std::optional<double> until{}; ///< Before.
    bool isDescending = false;
    std::size_t limit = 500; ///< At most 10,000.
    std::string cursor{};    ///< The `next` of the page before; empty at the start.
    bool withAssets = false; ///< The UUIDs of their assets too; a page may then end before its limit.
};

struct MomentPage {
    std::vector<MomentRecord> moments;
    std::string next{};      ///< The cursor of the page that follows; empty when this is the last.
    std::string storeUUID{}; ///< Of the library's store, which the object IDs of the moments carry.
    /// Whether all assets are in moments, and all moments and lists of them have been analyzed.
    bool isComplete = false;
};

/// All lists of moments, in the order of time.
struct MomentLists {
    std::vector<MomentListRecord> lists;
    std::string storeUUID{};
};

/// Which groups of duplicates, a page of them: the same before the similar.
struct DuplicatesQuery {
    std::optional<bool> isSame{}; ///< Only those of one kind.
    std::size_t limit = 500;      ///< Groups; at most 10,000.
    std::string cursor{};         ///< The `next` of the page before; empty at the start.
};

struct DuplicatesPage {
    std::vector<DuplicatesRecord> groups;
    std::string next{}; ///< As above.
    /// Whether all assets have been looked at, and the groups are what they should be.
    bool isComplete = false;
};

/// What came into a shared album within a short time: an entry of the cloud feed.
struct FeedEntryRecord {
    std::string albumUUID;
    double startDate = 0; ///< When the first was added, in seconds since 2001-01-01 00:00:00 UTC.
    double endDate = 0;   ///< When the last was.
    std::vector<std::string> uuids;
};

} // namespace wickerlane

#endif

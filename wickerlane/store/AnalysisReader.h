// What hoardd has made of a library, for readers of its store: moments, lists of them, duplicates, the cloud
// feed.
#ifndef WICKERLANE_STORE_ANALYSISREADER_H
#define WICKERLANE_STORE_ANALYSISREADER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/Moments.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// Reads over a connection of its own, which never blocks or changes the store. One thread at a time.
class WL_EXPORT AnalysisReader {
public:
    [[nodiscard]] static Result<AnalysisReader> open(const LibraryPaths &paths);

    [[nodiscard]] Result<MomentPage> moments(const MomentQuery &query);
    [[nodiscard]] Result<std::vector<MomentListRecord>> momentLists(); ///< In the order of time.
    /// The same before the similar, the oldest in the library first.
    [[nodiscard]] Result<DuplicatesPage> duplicates(const DuplicatesQuery &query);

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

// What the store counts and adds up as it changes, so that a look at it takes no longer the more there is.
//
// The size of an asset's thumbnails and edited rendition is a column of its row. The size is unknown from
// before one of the files changes until after that, so that a kill never leaves a wrong one: null, or -1 by
// the thread that changes the files, which alone finds it out again. As long as thumbnails are due it is
// unknown too. The files of such assets are looked at each time.
#ifndef WICKERLANE_STORE_KEPTSUMS_H
#define WICKERLANE_STORE_KEPTSUMS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// The column that holds that size.
inline constexpr const char *derivedBytesColumn = "derivedbytes";

/// Bytes, as they were kept. Of assets whose size is unknown nothing is in them but the originals.
struct KeptSizes {
    std::uint64_t photos = 0, videos = 0; ///< Originals.
    std::uint64_t companions = 0;
    std::uint64_t derived = 0;
    std::uint64_t trash = 0; ///< All of what is in the trash.
};
[[nodiscard]] WL_EXPORT Result<KeptSizes> readKeptSizes(sqlite::Database &database);

/// A number that is not what counting again gives.
struct WrongSum {
    std::string what; ///< For people.
    std::int64_t kept = 0, counted = 0;
};
/// Counts all again.
[[nodiscard]] WL_EXPORT Result<std::vector<WrongSum>> wrongSums(sqlite::Database &database);
/// Puts all of them right, in the caller's transaction.
[[nodiscard]] WL_EXPORT Result<> recountSums(sqlite::Database &database);

enum class AssetsIn { library, trash };

/// An asset with files whose size is unknown.
struct UnmeasuredAsset {
    std::int64_t primaryKey = 0;
    std::string uuid;
    std::string rendition;  ///< The name of its file; may be empty.
    bool mayChange = false; ///< A thread changes the files, or they are due.
};
/// Those with primary keys after `last`, in their order, at most `limit`.
[[nodiscard]] WL_EXPORT Result<std::vector<UnmeasuredAsset>>
unmeasuredAssets(sqlite::Database &database, AssetsIn place, std::int64_t last, std::size_t limit);

/// The bytes of an asset's thumbnails and of its edited rendition, whose name may be empty, as they are now.
[[nodiscard]] WL_EXPORT std::uint64_t bytesOfDerivedFiles(const LibraryPaths &paths, std::string_view uuid,
                                                          std::string_view rendition);

/// Lets all sizes of derived files be unknown: the store came to files that may be others. Nothing in a store
/// that is too old to have any.
[[nodiscard]] WL_EXPORT Result<> forgetDerivedSizes(sqlite::Database &database);

} // namespace wickerlane::store

#endif

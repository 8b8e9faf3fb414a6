// The companions of assets, for readers of a library's store: each is the second file of one shot.
#ifndef WICKERLANE_STORE_COMPANIONREADER_H
#define WICKERLANE_STORE_COMPANIONREADER_H

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// The raw file of a picture, or the short video that was taken with it.
struct Companion {
    std::string filename;         ///< In companionFolder(); begins with the asset's UUID.
    std::string originalFilename; ///< What its sender called it; may be empty.
    std::string format;           ///< Media type, told by content.
    std::uint64_t byteSize = 0;
    Sha256 sha256{};
};

/// Where the companion of an asset is.
[[nodiscard]] WL_EXPORT std::string companionFolder(const LibraryPaths &paths, std::string_view uuid);
[[nodiscard]] WL_EXPORT std::string companionPath(const LibraryPaths &paths, std::string_view uuid,
                                                  const Companion &companion);

/// The tables of the companions of what is in the library, and of what is in the trash.
inline constexpr std::string_view companionTable = "zcompanion";
inline constexpr std::string_view trashedCompanionTable = "ztrashedcompanion";

/// By the UUIDs of their assets.
using Companions = std::unordered_map<std::string, Companion>;
[[nodiscard]] WL_EXPORT Result<Companions> readCompanions(sqlite::Database &database,
                                                          std::string_view table = companionTable);
/// The same, over a connection of its own.
[[nodiscard]] WL_EXPORT Result<Companions> readCompanions(const LibraryPaths &paths);

/// Those of the assets with these UUIDs.
[[nodiscard]] WL_EXPORT Result<Companions> readCompanions(sqlite::Database &database,
                                                          std::span<const std::string_view> uuids);

/// The companion of an asset, if it has one.
[[nodiscard]] WL_EXPORT Result<std::optional<Companion>> readCompanion(sqlite::Database &database,
                                                                       std::string_view uuid);

} // namespace wickerlane::store

#endif

// Whether a row of the store can be an object: bytes in a damaged store are not what was written.
#ifndef WICKERLANE_STORE_SOUNDNESS_H
#define WICKERLANE_STORE_SOUNDNESS_H

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// Whether a text is valid UTF-8 without a NUL.
[[nodiscard]] WL_EXPORT bool isText(std::string_view text);

/// Whether a text is a UUID in upper case, as the store holds them.
[[nodiscard]] WL_EXPORT bool isUUID(std::string_view text);

// What keeps a row from being an object, for people; empty when nothing does.

[[nodiscard]] WL_EXPORT std::string faultOf(const AssetRecord &asset);
[[nodiscard]] WL_EXPORT std::string faultOf(const AlbumRecord &album);

/// A text of a row that is neither an asset nor an album.
struct TextColumn {
    const char *what; ///< The row, for people.
    const char *table;
    const char *column;
    bool holdsUUID;
};
[[nodiscard]] WL_EXPORT std::span<const TextColumn> textColumns();
/// The rows whose text in that column is none, or no UUID where it must be one, with that text.
[[nodiscard]] WL_EXPORT Result<std::vector<std::pair<std::int64_t, std::string>>>
rowsWithoutText(sqlite::Database &database, const TextColumn &column);

} // namespace wickerlane::store

#endif

// Texts in a store that can't be what was written.
#ifndef WICKERLANE_STORE_SOUNDNESS_H
#define WICKERLANE_STORE_SOUNDNESS_H

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

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

// Which course of changes a store has.
#ifndef WICKERLANE_STORE_STOREHISTORY_H
#define WICKERLANE_STORE_STOREHISTORY_H

#include <cstdint>

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// When an older copy of a store, or one made of what is left of it, takes its place, the numbers of later
/// changes are given again to others. So it begins a history of its own, and what names a change by its
/// number names the history as well. 0 as long as the store has never been replaced.
[[nodiscard]] inline Result<std::int64_t> historyOf(sqlite::Database &database) {
    return database.integer("SELECT coalesce((SELECT value FROM zstate WHERE name = 'history'), 0)");
}

/// Of a store that is about to be put in the place of another.
[[nodiscard]] inline Result<> beginHistory(sqlite::Database &database) {
    return database.execute("INSERT OR REPLACE INTO zstate VALUES ('history', random() | 1)");
}

} // namespace wickerlane::store

#endif

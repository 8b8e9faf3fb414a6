// Single numbers that a library remembers.
#ifndef HOARDD_LIBRARY_STATE_H
#define HOARDD_LIBRARY_STATE_H

#include <cstdint>
#include <optional>

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd::state {

inline constexpr const char *restoring = "restoring";              ///< 1 between a restore and its end.
inline constexpr const char *maxSharedAssets = "mostsharedassets"; ///< That a shared album may hold.
inline constexpr const char *scrubbed = "scrubbed"; ///< Until when scrubbing has kept up, in milliseconds.
inline constexpr const char *previewWell =
    "previewwell"; ///< The primary key of the asset it shows; 0 for none.

/// How many commits failed: a number that changes.
inline constexpr const char *failedCommits = "failedcommits";

/// Nothing when it has never been set.
[[nodiscard]] inline Result<std::optional<std::int64_t>> get(sqlite::Database &database, const char *name) {
    return database.prepare("SELECT value FROM zstate WHERE name = ?")
        .bind(name)
        .first([](const sqlite::Statement &row) { return row.integer(0); });
}

/// In the caller's transaction.
[[nodiscard]] inline Result<> set(sqlite::Database &database, const char *name, std::int64_t value) {
    return database.prepare("INSERT OR REPLACE INTO zstate VALUES (?, ?)").bind(name, value).run();
}

} // namespace wickerlane::hoardd::state

#endif

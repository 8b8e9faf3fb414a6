// Single numbers that a library remembers.
#ifndef HOARDD_LIBRARY_STATE_H
#define HOARDD_LIBRARY_STATE_H

#include <cstdint>
#include <optional>

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd::state {

inline constexpr const char *restoring = "restoring";               ///< 1 between a restore and its end.
inline constexpr const char *mostSharedAssets = "mostsharedassets"; ///< That a shared album may hold.

/// Nothing when it has never been set, or on failure.
[[nodiscard]] inline std::optional<std::int64_t> get(sqlite::Database &database, const char *name) {
    auto statement = database.prepare("SELECT value FROM zstate WHERE name = ?");
    return statement.bind(name).next() ? std::optional(statement.integer(0)) : std::nullopt;
}

/// In the caller's transaction. False on failure.
[[nodiscard]] inline bool set(sqlite::Database &database, const char *name, std::int64_t value) {
    return database.prepare("INSERT OR REPLACE INTO zstate VALUES (?, ?)").bind(name, value).run();
}

} // namespace wickerlane::hoardd::state

#endif

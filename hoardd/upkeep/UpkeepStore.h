// What upkeep changes in the store. The functions work in a transaction of the caller's.
#ifndef HOARDD_UPKEEP_UPKEEPSTORE_H
#define HOARDD_UPKEEP_UPKEEPSTORE_H

#include <sys/types.h>

#include <string_view>

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// A process that ended by an exception.
struct Termination {
    double date = 0; ///< Seconds since 2001-01-01 00:00:00 UTC.
    std::string_view executable;
    pid_t process = 0;
    std::string_view name;   ///< Of the exception; may be empty.
    std::string_view reason; ///< May be empty.
};
[[nodiscard]] Result<> insertTermination(sqlite::Database &database, const Termination &termination);

[[nodiscard]] Result<> deleteChanges(sqlite::Database &database);

/// Sees to it that there is one of each row of which there must be one: of the library's identity, of the
/// state of duplicates, and of each count and sum, which is right.
[[nodiscard]] Result<> repairSingletons(sqlite::Database &database, std::string_view identity);

} // namespace wickerlane::hoardd

#endif

// Taking out of a damaged database what can still be read.
#ifndef HOARDD_LIBRARY_STORESALVAGE_H
#define HOARDD_LIBRARY_STORESALVAGE_H

#include <set>
#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// The tables of a database; none when that can't be read.
[[nodiscard]] std::vector<std::string> tablesOf(sqlite::Database &database);

/// Whether a row is wanted, by the values of its columns "directory" and "filename".
using WantsFile = Handler<bool(std::string_view directory, std::string_view filename)>;

/// Copies the rows of a table that can be read into a table of the same name, as far as it has their columns.
/// Rows that it has, or can't hold, are passed over; so are those whose file is not wanted. True when no row
/// can have been missed.
[[nodiscard]] bool salvageTable(sqlite::Database &from, sqlite::Database &into, const std::string &table,
                                const WantsFile &wants = {});

/// Deletes the rows that refer to others that are not there, or lets them refer to none.
[[nodiscard]] Result<> removeOrphans(sqlite::Database &database);

} // namespace wickerlane::hoardd

#endif

// Which library a store is that of.
#ifndef HOARDD_LIBRARY_STOREIDENTITY_H
#define HOARDD_LIBRARY_STOREIDENTITY_H

#include <optional>
#include <string>

#include "hoardd/library/StoreNotes.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// Nothing when it has lost it.
[[nodiscard]] std::optional<std::string> identityIn(sqlite::Database &database);

/// Of the notes or a backup; else a new one.
[[nodiscard]] std::string formerIdentity(const store::LibraryPaths &paths, const NotedRows &notes);

} // namespace wickerlane::hoardd

#endif

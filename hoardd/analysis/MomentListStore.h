// Lists of moments in the store.
#ifndef HOARDD_ANALYSIS_MOMENTLISTSTORE_H
#define HOARDD_ANALYSIS_MOMENTLISTSTORE_H

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// Groups the moments into lists, in a transaction of the caller's. Lists that stay as they are are not
/// written.
[[nodiscard]] Result<> rebuildMomentLists(sqlite::Database &database);

} // namespace wickerlane::hoardd

#endif

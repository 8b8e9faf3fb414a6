// Lists of moments in the store.
#ifndef HOARDD_ANALYSIS_MOMENTLISTSTORE_H
#define HOARDD_ANALYSIS_MOMENTLISTSTORE_H

#include "hoardd/analysis/MomentRunStore.h"

namespace wickerlane::hoardd {

/// Groups the moments into lists, in a transaction of the caller's. Lists that stay as they are are not
/// written.
[[nodiscard]] Result<> rebuildAllMomentLists(sqlite::Database &database);
/// The same around changes, if the lists were right before: the dates at which moments start or started that
/// came, went or changed, and the lists from which they have gone.
[[nodiscard]] Result<> rebuildMomentLists(sqlite::Database &database, const RunChanges &changes);

} // namespace wickerlane::hoardd

#endif

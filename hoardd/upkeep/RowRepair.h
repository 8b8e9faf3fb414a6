// Rows of the store that can't be objects.
#ifndef HOARDD_UPKEEP_ROWREPAIR_H
#define HOARDD_UPKEEP_ROWREPAIR_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Puts right the rows of assets and albums that can't be objects: what of a row is sound stays, and its
/// original is found by its UUID. A row of which nothing can be made is deleted; its original is then a file
/// like any other that is found.
[[nodiscard]] Result<> repairRows(Library &library);

/// Gives assets whose rows the store lacks, as an older copy of it does, the rows that are noted of them.
[[nodiscard]] Result<> restoreForgottenRows(Library &library);

} // namespace wickerlane::hoardd

#endif

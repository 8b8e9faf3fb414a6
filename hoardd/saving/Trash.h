// The trash: what was deleted can be had again for a time.
//
// An asset in the trash has its files where they were. All that the store says of it is moved in one
// transaction, so that the asset is whole in the library or whole in the trash, whenever the process is
// killed.
#ifndef HOARDD_SAVING_TRASH_H
#define HOARDD_SAVING_TRASH_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

// These block.

/// Moves an asset into the trash. Succeeds also when it has gone already.
[[nodiscard]] Result<> trashAsset(Library &library, const AssetRecord &asset);

/// Takes an asset out of the trash, and makes its thumbnails if they are due. Fails when the trash doesn't
/// have it.
[[nodiscard]] Result<> restoreFromTrash(Library &library, const std::string &uuid);

/// Deletes what came into the trash until a date (seconds since 2001-01-01 00:00:00 UTC) for good. Stops
/// where it can when the process is ending.
[[nodiscard]] Result<> emptyTrash(Library &library, double until);

/// Does that with what has been in the trash for its lifetime, and makes the disk's reserve if need be.
void emptyExpiredTrash(Library &library);

} // namespace wickerlane::hoardd

#endif

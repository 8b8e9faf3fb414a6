// The size of what is derived from an asset: its thumbnails and its edited rendition. The store keeps it, and
// the sum of all; see wickerlane/store/KeptSums.h.
#ifndef HOARDD_PICTURES_DERIVEDSIZE_H
#define HOARDD_PICTURES_DERIVEDSIZE_H

#include <cstdint>
#include <string>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

// With the lock of the asset held.

/// Lets the size be unknown until storeDerivedSize(). Before a file comes, changes or goes, unless thumbnails
/// are due.
[[nodiscard]] Result<> beginDerivedChange(Library &library, std::int64_t asset);
/// Looks at the files and stores their size, in a transaction of the caller's. After they have changed.
[[nodiscard]] Result<> storeDerivedSize(const Library &library, sqlite::Database &database,
                                        const AssetRecord &asset);
/// The same in a transaction of its own.
[[nodiscard]] Result<> endDerivedChange(Library &library, const AssetRecord &asset);

// Without it.

/// Looks at the files and stores their size, in a transaction of the caller's. Nothing if the size is known,
/// or a thread is changing the files.
[[nodiscard]] Result<> storeUnknownDerivedSize(const Library &library, sqlite::Database &database,
                                               const AssetRecord &asset);

/// Looks at the files of an asset again, in the library or in the trash.
[[nodiscard]] Result<> measureAgain(Library &library, const std::string &uuid);

/// Before anything else is done with a library: no thread changes anything yet.
[[nodiscard]] Result<> forgetUnfinishedChanges(Library &library);

/// Finds out all sizes that are unknown, of what is in the library or in the trash, except where thumbnails
/// are due. Blocks, and stops when the process is ending.
void measureLeftUnknown(Library &library);

} // namespace wickerlane::hoardd

#endif

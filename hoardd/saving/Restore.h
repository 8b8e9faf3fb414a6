// Bringing assets back from files that a restore left elsewhere.
#ifndef HOARDD_SAVING_RESTORE_H
#define HOARDD_SAVING_RESTORE_H

#include <span>
#include <string>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Makes sure that there is an asset of a UUID, with its original, from the first of the files that serves:
/// one with the contents of an original that is missing, any file for an asset that the library lacks.
/// Blocks. The problem is that of the last file.
[[nodiscard]] Result<> restoreAsset(Library &library, const std::string &uuid,
                                    std::span<const std::string> files, bool mayReadFiles);

} // namespace wickerlane::hoardd

#endif

// What shared albums take on the disk, and getting it back.
#ifndef HOARDD_PICTURES_SHAREDSPACE_H
#define HOARDD_PICTURES_SHAREDSPACE_H

#include <cstdint>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

// Of the assets in shared albums, the larger thumbnails can go: they are made again, and kept, when they are
// asked for. Only those go of which the original, or what it was edited to, is there, unchanged, and can be
// decoded. Originals never do, since there is no server that has them.

/// How many bytes could be freed, at most: whether files have changed is not looked at.
[[nodiscard]] Result<std::uint64_t> purgeableBytes(Library &library);

/// Frees up to a limit of bytes. The largest thumbnails, which are made only on request, go first; within a
/// size, those of the oldest assets. Gives the bytes that were freed, also when it stops early since the
/// process is ending.
[[nodiscard]] Result<std::uint64_t> purge(Library &library, std::uint64_t maxBytes);

} // namespace wickerlane::hoardd

#endif

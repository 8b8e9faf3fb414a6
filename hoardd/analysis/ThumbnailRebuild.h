// Making all thumbnails of a library again.
#ifndef HOARDD_ANALYSIS_THUMBNAILREBUILD_H
#define HOARDD_ANALYSIS_THUMBNAILREBUILD_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Makes the thumbnails of all assets again, and tries those that could not be decoded. One that can't be
/// made doesn't stop the others. Blocks, long.
[[nodiscard]] Result<> rebuildThumbnails(Library &library);

} // namespace wickerlane::hoardd

#endif

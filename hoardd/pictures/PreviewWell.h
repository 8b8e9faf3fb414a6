// The camera's preview well, which shows one asset or none: a copy of its small thumbnail.
#ifndef HOARDD_PICTURES_PREVIEWWELL_H
#define HOARDD_PICTURES_PREVIEWWELL_H

#include <cstddef>
#include <string_view>
#include <vector>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

[[nodiscard]] Result<> showInPreviewWell(Library &library, const AssetRecord &asset);
[[nodiscard]] Result<> clearPreviewWell(Library &library);
[[nodiscard]] bool isInPreviewWell(const Library &library, const AssetRecord &asset);

// With the lock of an asset held. Nothing happens unless the well shows it. What fails is only logged: the
// asset has changed or gone all the same.

/// After its thumbnails have been replaced.
void redrawPreviewWell(Library &library, const AssetRecord &asset);
/// When it has nothing more to show.
void leavePreviewWell(Library &library, const AssetRecord &asset);

/// The small thumbnail of an asset, as a JPEG file.
[[nodiscard]] Result<std::vector<std::byte>> smallThumbnail(const store::LibraryPaths &paths,
                                                            std::string_view uuid);

} // namespace wickerlane::hoardd

#endif

// Which file shows an asset.
#ifndef HOARDD_PICTURES_SHOWNPICTURE_H
#define HOARDD_PICTURES_SHOWNPICTURE_H

#include <string>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// Where an asset's edited rendition is; an empty path when it has none.
[[nodiscard]] Result<std::string> renditionPath(Library &library, const AssetRecord &asset);

/// The edited rendition if there is one, else the original.
[[nodiscard]] Result<std::string> shownPicturePath(Library &library, const AssetRecord &asset);

} // namespace wickerlane::hoardd

#endif

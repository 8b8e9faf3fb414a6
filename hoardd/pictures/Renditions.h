// The edited renditions of assets.
#ifndef HOARDD_PICTURES_RENDITIONS_H
#define HOARDD_PICTURES_RENDITIONS_H

#include "hoardd/library/Library.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane::hoardd {

/// Gives an asset an edited rendition: a picture that can be decoded, with properties of the editor's own
/// (may be null). Its thumbnails are made of it. The same picture once more changes nothing. Whatever the
/// instant of a kill, the asset has its earlier rendition and thumbnails or the new ones. Blocks.
[[nodiscard]] Result<> setRendition(Library &library, const store::AssetRecord &asset, const Data &picture,
                                    const Dictionary *properties);

} // namespace wickerlane::hoardd

#endif

// The edited renditions of assets.
#ifndef HOARDD_PICTURES_RENDITIONS_H
#define HOARDD_PICTURES_RENDITIONS_H

#include "hoardd/library/Library.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane::hoardd {

/// Gives an asset an edited rendition: a picture that can be decoded, with properties of the editor's own
/// (may be null). Its thumbnails are made of it. Setting the same picture again changes the properties alone.
/// If the daemon is killed, the asset has either its earlier rendition and thumbnails or the new ones.
/// Blocks.
[[nodiscard]] Result<> setRendition(Library &library, const AssetRecord &asset, const Data &picture,
                                    const Dictionary *properties);

/// Deletes the row of an edited rendition if its file is missing.
[[nodiscard]] Result<> forgetMissingRendition(Library &library, const std::string &uuid);

/// Takes an asset's edited rendition away, so that the original is shown again, with thumbnails of it. Fails
/// when the asset has no rendition, or when its original is missing. Blocks.
[[nodiscard]] Result<> revertRendition(Library &library, const AssetRecord &asset);

} // namespace wickerlane::hoardd

#endif

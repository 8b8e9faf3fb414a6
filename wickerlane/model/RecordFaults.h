// Whether what a store or another process says of an object can be one: bytes that were damaged or made up
// are not what was written.
#ifndef WICKERLANE_MODEL_RECORDFAULTS_H
#define WICKERLANE_MODEL_RECORDFAULTS_H

#include <string>
#include <string_view>

#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/model/ManagedAsset.h"

namespace wickerlane {

/// Whether a text is valid UTF-8 without a NUL.
[[nodiscard]] WL_EXPORT bool isText(std::string_view text);

/// Whether a text is a UUID in upper case, as records hold them.
[[nodiscard]] WL_EXPORT bool isUUID(std::string_view text);

// What keeps a record from being an object, for people; empty when nothing does.

[[nodiscard]] WL_EXPORT std::string faultOf(const AssetRecord &asset);
[[nodiscard]] WL_EXPORT std::string faultOf(const AlbumRecord &album);

} // namespace wickerlane

#endif

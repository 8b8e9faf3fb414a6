// Whether a row of the store can be an object: bytes in a damaged store are not what was written.
#ifndef WICKERLANE_STORE_SOUNDNESS_H
#define WICKERLANE_STORE_SOUNDNESS_H

#include <string>
#include <string_view>

#include "wickerlane/store/AssetRecord.h"
#include "wickerlane/store/ManagedAlbum.h"

namespace wickerlane::store {

/// Whether a text is valid UTF-8 without a NUL.
[[nodiscard]] WL_EXPORT bool isText(std::string_view text);

/// Whether a text is a UUID in upper case, as the store holds them.
[[nodiscard]] WL_EXPORT bool isUUID(std::string_view text);

// What keeps a row from being an object, for people; empty when nothing does.

[[nodiscard]] WL_EXPORT std::string faultOf(const AssetRecord &asset);
[[nodiscard]] WL_EXPORT std::string faultOf(const AlbumRecord &album);

} // namespace wickerlane::store

#endif

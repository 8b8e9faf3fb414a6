// The persistent URLs of assets: rez-vault://asset/asset.JPG?id=<UUID>&ext=JPG
#ifndef WICKERLANE_MODEL_ASSETURL_H
#define WICKERLANE_MODEL_ASSETURL_H

#include <string>
#include <string_view>

#include "wickerlane/platform/object/URL.h"

namespace wickerlane {

/// The scheme of the photo library's URLs; its case counts.
inline constexpr std::string_view assetURLScheme = "rez-vault";

/// The URL of an asset whose original has that extension (letters and digits).
[[nodiscard]] WL_EXPORT Ref<URL> createAssetURL(std::string_view uuid, std::string_view extension);

/// The UUID in an asset's URL, in upper case; empty when the URL (which may be null) is not one.
[[nodiscard]] WL_EXPORT std::string uuidOfAssetURL(const URL *url);

} // namespace wickerlane

#endif

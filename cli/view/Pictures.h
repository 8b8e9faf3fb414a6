// Pictures, and the files of assets.
#ifndef CLI_VIEW_PICTURES_H
#define CLI_VIEW_PICTURES_H

#include <httplib.h>

#include <cstdint>
#include <string>

#include "cli/view/KnownAssets.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::cli::view {

/// A file of an asset, and what it is called outside the library.
struct AssetFile {
    UniqueFd file;
    std::string name;
    std::string type; ///< Media type.
    std::uint64_t byteCount = 0;
};
/// The original, or what an editor made of it if `edited`, which fails when there is none.
Result<AssetFile> openFileOf(const ManagedAsset &asset, bool edited);

/// Answers /media/UUID/FORM.
Result<> answerMedia(KnownAssets &known, const httplib::Request &request, httplib::Response &response);

} // namespace wickerlane::cli::view

#endif

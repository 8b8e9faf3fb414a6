// Pictures, and the files of assets.
#ifndef CLI_VIEW_PICTURES_H
#define CLI_VIEW_PICTURES_H

#include <httplib.h>

#include <string>

#include "cli/view/KnownAssets.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::cli::view {

/// The picture of an asset in one of the formats of ImageDataFormats.h. Borrowed.
Result<const Data *> pictureOf(KnownAssets &known, const std::string &uuid, int format);

/// An asset by its UUID.
Result<Ref<ManagedAsset>> assetWithUUID(const std::string &uuid);

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

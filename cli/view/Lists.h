// What the library holds, as the page asks for it.
#ifndef CLI_VIEW_LISTS_H
#define CLI_VIEW_LISTS_H

#include <httplib.h>

#include <string>

#include "cli/view/KnownAssets.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// Each gives the JSON that answers the request.
using List = Result<std::string>(KnownAssets &known, const httplib::Request &request);

List listSections, countAssets, listGrid, describeAsset, listAlbums, listMoments, listDuplicates,
    listBulletins, listTrash;

/// What /api/asset/ is put before.
inline constexpr std::string_view assetPath = "/api/asset/";

} // namespace wickerlane::cli::view

#endif

// Making albums, and putting assets into them.
#ifndef CLI_ALBUMS_H
#define CLI_ALBUMS_H

#include <span>
#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/URL.h"

namespace wickerlane::cli {

/// Creates an album, and gives its URL.
Result<std::string> createAlbum(const std::string &name);

/// Assets by their UUIDs: those that are in an album, and those that are not.
struct PartedByAlbum {
    std::vector<std::string> inside, outside;
};
Result<PartedByAlbum> partByAlbum(std::span<const std::string> uuids, const std::string &albumUUID);

/// `what` names the asset in the problem.
Result<> addToAlbum(URL *assetURL, const std::string &albumUUID, const std::string &what);

} // namespace wickerlane::cli

#endif

#include "hoardd/pictures/ShownPicture.h"

namespace wickerlane::hoardd {

Result<std::string> renditionPath(Library &library, const AssetRecord &asset) {
    auto filename = library.writer().renditionOf(asset.uuid);
    if (!filename || filename->empty())
        return filename;
    return library.paths().renditionFolder(asset.uuid) + '/' + *filename;
}

Result<std::string> shownPicturePath(Library &library, const AssetRecord &asset) {
    auto rendition = renditionPath(library, asset);
    if (!rendition || !rendition->empty())
        return rendition;
    return library.paths().original(asset);
}

} // namespace wickerlane::hoardd

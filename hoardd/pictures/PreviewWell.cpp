#include "hoardd/pictures/PreviewWell.h"

#include <unistd.h>

#include "hoardd/pictures/Thumbnails.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

Result<> showInPreviewWell(Library &library, const store::AssetRecord &asset) {
    const auto thumbnail = smallThumbnail(library.paths(), asset.uuid);
    if (!thumbnail)
        return passOn(thumbnail);
    const std::string well = library.paths().previewWell();
    if (!replaceFile(well, *thumbnail))
        return failSystem("write", well);
    return {};
}

Result<> clearPreviewWell(Library &library) {
    const std::string well = library.paths().previewWell();
    if (::unlink(well.c_str()) != 0 && errno != ENOENT)
        return failSystem("clear", well);
    return {};
}

bool isInPreviewWell(const Library &library, const store::AssetRecord &asset) {
    const auto thumbnail = smallThumbnail(library.paths(), asset.uuid);
    std::vector<std::byte> well;
    return thumbnail && readFile(library.paths().previewWell(), well, thumbnail->size()) &&
           well == *thumbnail;
}

} // namespace wickerlane::hoardd

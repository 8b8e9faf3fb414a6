#include "hoardd/pictures/PreviewWell.h"

#include <unistd.h>

#include "hoardd/library/Lookup.h"
#include "hoardd/library/State.h"
#include "hoardd/pictures/Thumbnails.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

namespace {

Result<> note(Library &library, std::int64_t asset) {
    return library.writer().change(
        [=](sqlite::Database &database) { return state::set(database, state::previewWell, asset); });
}

} // namespace

Result<> showInPreviewWell(Library &library, const store::AssetRecord &asset) {
    // With its lock held, so that an asset that is removed meanwhile is not shown.
    const MutexLock lock(library.locks().of(asset.uuid));
    if (auto isThere = requireAsset(library, asset.uuid); !isThere)
        return isThere;
    const auto thumbnail = smallThumbnail(library.paths(), asset.uuid);
    if (!thumbnail)
        return passOn(thumbnail);
    // What it shows is noted first: a picture is never there without its name.
    if (auto noted = note(library, asset.primaryKey); !noted)
        return noted;
    const std::string well = library.paths().previewWell();
    if (!replaceFile(well, *thumbnail))
        return failSystem("write", well);
    return {};
}

Result<> clearPreviewWell(Library &library) {
    const std::string well = library.paths().previewWell();
    if (::unlink(well.c_str()) != 0 && errno != ENOENT)
        return failSystem("clear", well);
    return note(library, 0);
}

bool isInPreviewWell(const Library &library, const store::AssetRecord &asset) {
    const auto shown =
        library.read([](sqlite::Database &database) { return state::get(database, state::previewWell); });
    if (shown && *shown)
        return **shown == asset.primaryKey;
    // An older daemon noted nothing.
    const auto thumbnail = smallThumbnail(library.paths(), asset.uuid);
    std::vector<std::byte> well;
    return thumbnail && readFile(library.paths().previewWell(), well, thumbnail->size()) &&
           well == *thumbnail;
}

} // namespace wickerlane::hoardd

#include "hoardd/pictures/PreviewWell.h"

#include <unistd.h>

#include "hoardd/library/Lookup.h"
#include "hoardd/library/State.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

namespace {

/// Far above any small thumbnail.
constexpr std::size_t maxSmallThumbnailBytes = 4 << 20;

// With the lock of the well held.

Result<> note(Library &library, std::int64_t asset) {
    return library.writer().change(
        [=](sqlite::Database &database) { return state::set(database, state::previewWell, asset); });
}

Result<> draw(const Library &library, Bytes thumbnail) {
    const std::string well = library.paths().previewWell();
    if (!replaceFile(well, thumbnail))
        return failSystem("write", well);
    return {};
}

Result<> clear(Library &library) {
    const std::string well = library.paths().previewWell();
    if (::unlink(well.c_str()) != 0 && errno != ENOENT)
        return failSystem("clear", well);
    return note(library, 0);
}

void logFailure(const Result<> &done, const AssetRecord &asset) {
    if (!done)
        JX_LOG(JXLogLevelError, JXThumbnailsLog, "the preview well still shows %s as it was: %s",
               asset.uuid.c_str(), done.error().text.c_str());
}

} // namespace

Result<> showInPreviewWell(Library &library, const AssetRecord &asset) {
    // With its lock held, so that an asset that is removed meanwhile is not shown.
    const MutexLock lock(library.locks().of(asset.uuid));
    if (auto isThere = requireAsset(library, asset.uuid); !isThere)
        return isThere;
    const MutexLock well(library.previewWellLock());
    const auto thumbnail = smallThumbnail(library.paths(), asset.uuid);
    if (!thumbnail)
        return passOn(thumbnail);
    // What it shows is noted first: a picture is never there without its name.
    if (auto noted = note(library, asset.primaryKey); !noted)
        return noted;
    return draw(library, *thumbnail);
}

Result<> clearPreviewWell(Library &library) {
    const MutexLock well(library.previewWellLock());
    return clear(library);
}

bool isInPreviewWell(const Library &library, const AssetRecord &asset) {
    const auto shown =
        library.read([](sqlite::Database &database) { return state::get(database, state::previewWell); });
    if (shown && *shown)
        return **shown == asset.primaryKey;
    // An older daemon noted nothing.
    std::vector<std::byte> well;
    if (!readFile(library.paths().previewWell(), well, maxSmallThumbnailBytes))
        return false;
    const auto thumbnail = smallThumbnail(library.paths(), asset.uuid);
    return thumbnail && well == *thumbnail;
}

void redrawPreviewWell(Library &library, const AssetRecord &asset) {
    const MutexLock well(library.previewWellLock());
    if (!isInPreviewWell(library, asset))
        return;
    const auto thumbnail = smallThumbnail(library.paths(), asset.uuid);
    logFailure(thumbnail ? draw(library, *thumbnail) : passOn(thumbnail), asset);
}

void leavePreviewWell(Library &library, const AssetRecord &asset) {
    const MutexLock well(library.previewWellLock());
    if (isInPreviewWell(library, asset))
        logFailure(clear(library), asset);
}

Result<std::vector<std::byte>> smallThumbnail(const store::LibraryPaths &paths, std::string_view uuid) {
    const std::string path = paths.thumbnail(uuid, store::ThumbnailSize::small);
    std::vector<std::byte> bytes;
    if (!readFile(path, bytes, maxSmallThumbnailBytes))
        return failSystem("read", path);
    return bytes;
}

} // namespace wickerlane::hoardd

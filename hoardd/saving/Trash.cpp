#include "hoardd/saving/Trash.h"

#include "hoardd/library/Clock.h"
#include "hoardd/library/DiskReserve.h"
#include "hoardd/library/Failures.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/library/TrashStore.h"
#include "hoardd/pictures/PreviewWell.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/saving/Publication.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

/// Changes the store while nothing else works on an asset. Gives what `change` gives.
template <class Change>
Result<bool> changeAsset(Library &library, const std::string &uuid, const Change &change) {
    const auto reservation = library.locks().reserve(uuid);
    if (!reservation)
        return fail(ProblemKind::busy, "the asset is being saved");
    const MutexLock lock(library.locks().of(uuid));
    return withDiskReserve(library.paths(), [&] { return library.writer().change(change); });
}

} // namespace

Result<> trashAsset(Library &library, const AssetRecord &asset) {
    const auto moved = changeAsset(library, asset.uuid, [&](Database &database) {
        return moveToTrash(database, asset.uuid, secondsNow());
    });
    if (!moved)
        return passOn(moved);
    leavePreviewWell(library, asset);
    return {};
}

Result<> restoreFromTrash(Library &library, const std::string &uuid) {
    const auto moved =
        changeAsset(library, uuid, [&](Database &database) { return takeFromTrash(database, uuid); });
    if (!moved)
        return passOn(moved);
    if (!*moved)
        return fail(ProblemKind::notFound, "the trash has no such asset");
    const auto asset = assetWithUUID(library, uuid);
    if (asset && library.writer().isDue((*asset)->record().primaryKey).value_or(true))
        static_cast<void>(makeDueThumbnails(library, {&(*asset)->record(), 1})); // else they stay due
    return {};
}

Result<> emptyTrash(Library &library, double until) {
    const auto trashed = library.read([until](Database &database) { return trashedUntil(database, until); });
    if (!trashed)
        return passOn(trashed);
    FailureCount failures;
    WorkDone work{0, trashed->size()};
    for (const AssetRecord &asset : *trashed) {
        if (const auto on = library.goesOn(work); !on)
            return passOn(on);
        ReleaseScope scope;
        if (const auto removed = removeAsset(library, asset, AssetPlace::trash); !removed)
            failures.add(asset.uuid, removed.error());
        ++work.done;
    }
    if (!trashed->empty())
        JX_LOG(JXLogLevelNotice, JXPhotosStateLog, "deleted %zu assets that were in the trash",
               trashed->size());
    keepDiskReserve(library.paths());
    return failures.result("assets in the trash could not be deleted");
}

void emptyExpiredTrash(Library &library) {
    if (const auto emptied = emptyTrash(library, secondsNow() - trashLifetime); !emptied)
        JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't empty the trash: %s", emptied.error().text.c_str());
}

} // namespace wickerlane::hoardd

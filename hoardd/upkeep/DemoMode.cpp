#include "hoardd/upkeep/DemoMode.h"

#include "hoardd/albums/AlbumNotes.h"
#include "hoardd/albums/AlbumStore.h"
#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/albums/BulletinStore.h"
#include "hoardd/saving/Publication.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

using sqlite::Database;

Result<> removeAddedSince(Library &library, double date) {
    const auto added = library.writer().addedSince(date);
    if (!added)
        return passOn(added);
    for (const store::AssetRecord &each : *added) {
        if (library.isEnding())
            return stopped();
        ReleaseScope scope;
        if (const auto removed = removeAsset(library, each); !removed)
            return removed;
    }
    const auto albums = library.writer().change([date](Database &database) {
        return deleteBulletins(database, INT64_MAX).and_then([&] {
            return deleteAlbumsCreatedAfter(database, date);
        });
    });
    if (!albums)
        return passOn(albums);
    postBulletinsChanged();
    for (const std::string &uuid : *albums)
        removeAlbumNote(library.paths(), uuid);
    return {};
}

} // namespace wickerlane::hoardd

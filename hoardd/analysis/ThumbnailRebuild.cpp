#include "hoardd/analysis/ThumbnailRebuild.h"

#include "hoardd/library/Failures.h"
#include "hoardd/pictures/Thumbnails.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

Result<> rebuildThumbnails(Library &library) {
    constexpr std::size_t maxPerRead = 64;
    FailureCount failures;
    WorkDone work{0, library.writer().countDecodable().value_or(0)};
    for (std::int64_t last = 0;;) {
        const auto assets = library.writer().decodable(last, maxPerRead);
        if (!assets)
            return passOn(assets);
        if (assets->empty())
            break;
        last = assets->back().primaryKey;
        for (const AssetRecord &each : *assets) {
            if (const auto on = library.goesOn(work); !on)
                return passOn(on);
            ++work.done;
            ReleaseScope scope;
            const auto asset = library.assets().assetWithUUID(each.uuid);
            if (!asset)
                return passOn(asset);
            if (!*asset)
                continue; // gone meanwhile
            const auto made =
                makeThumbnails(library, (*asset)->record(), {.isForced = true, .newIndex = true});
            if (made)
                continue;
            if (const auto isThere = library.writer().contains(each.uuid); isThere && !*isThere)
                continue; // gone meanwhile; an original that is missing is another matter
            JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't make the thumbnails of %s: %s", each.uuid.c_str(),
                   made.error().text.c_str());
            failures.add(each.uuid, made.error());
        }
    }
    tryUndecodable(library, Refused::byAny);
    makeThumbnailsLeftDue(library);
    return failures.result("assets have no new thumbnails");
}

} // namespace wickerlane::hoardd

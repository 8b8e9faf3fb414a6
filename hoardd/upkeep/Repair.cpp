#include "hoardd/upkeep/Repair.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "hoardd/library/Interim.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/saving/FoundFiles.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::hoardd {

using store::Finding;

namespace {

std::string mend(Library &library, const Finding &finding) {
    switch (finding.kind) {
    case Finding::Kind::missingThumbnail: {
        const Ref<store::ManagedAsset> asset = library.assets().assetWithUUID(finding.uuid);
        return asset ? asText(makeThumbnails(library, asset->record(), {}))
                     : std::string("the asset can't be read");
    }
    case Finding::Kind::missingRendition:
        return asText(library.writer().change([&](sqlite::Database &database) {
            return database.prepare("DELETE FROM zrendition WHERE assetuuid = ?").bind(finding.uuid).run();
        }));
    case Finding::Kind::strayOriginal:
    case Finding::Kind::strayThumbnail:
    case Finding::Kind::strayRendition:
        return asText(moveStray(library, finding.path, library.paths().lostAndFound()));
    default:
        return finding.detail.empty() ? "it can't be mended" : finding.detail;
    }
}

} // namespace

std::string repairLibrary(Library &library) {
    std::string left = asText(saveFoundFiles(library));
    const auto report = store::checkLibrary(library.paths());
    if (!report)
        return report.error().text;
    left += asText(library.writer().change(
        [](sqlite::Database &database) { return database.execute(store::recountAssets); }));
    for (const Finding &finding : report->findings) {
        if (library.isEnding())
            return "hoardd is ending; what is left is done the next time";
        ReleaseScope scope;
        const std::string why = mend(library, finding);
        JX_LOG(why.empty() ? JXLogLevelNotice : JXLogLevelError, JXPhotosStateLog, "%s %s: %s %s",
               why.empty() ? "mended" : "can't mend", nameOf(finding.kind), finding.path.c_str(),
               why.c_str());
        if (!why.empty())
            left += (left.empty() ? "" : "; ") + std::string(nameOf(finding.kind)) + ": " + finding.path;
    }
    return left;
}

} // namespace wickerlane::hoardd

#include "hoardd/Repair.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>

#include "hoardd/FoundFiles.h"
#include "hoardd/Renditions.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/Schema.h"

namespace hoardd {

using namespace wickerlane;
using store::Finding;

namespace {

/// Moves a file aside, under its own name or one with a number. An empty text on success.
std::string moveAside(const Library &library, const std::string &path) {
    const std::string folder = library.paths().lostAndFound();
    if (!makeFolders(folder))
        return std::strerror(errno);
    const std::string name = path.substr(path.rfind('/') + 1);
    for (int number = 0; number < 1000; ++number) {
        const std::string prefix = number == 0 ? "" : std::to_string(number) + '-';
        std::string place = folder + '/';
        place.append(prefix).append(name);
        if (::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, place.c_str(), RENAME_NOREPLACE) == 0)
            return syncFolder(folder) ? std::string() : std::strerror(errno);
        if (errno == ENOENT)
            return {}; // somebody else was first
        if (errno != EEXIST)
            return std::strerror(errno);
    }
    return "there are too many files of that name";
}

std::string mend(Library &library, const Finding &finding) {
    switch (finding.kind) {
    case Finding::Kind::missingThumbnail: {
        const Ref<store::ManagedAsset> asset = library.assets().assetWithUUID(finding.uuid);
        return asset ? Renditions(library).makeThumbnails(asset->record(), false, false) : std::string();
    }
    case Finding::Kind::missingRendition:
        return library.writer().change([&](sqlite::Database &database) {
            return database.prepare("DELETE FROM zrendition WHERE assetuuid = ?").bind(finding.uuid).run();
        });
    case Finding::Kind::strayOriginal:
    case Finding::Kind::strayThumbnail:
    case Finding::Kind::strayRendition:
        return moveAside(library, finding.path);
    default:
        return finding.detail.empty() ? "it can't be mended" : finding.detail;
    }
}

} // namespace

std::string repairLibrary(Library &library, const Handler<bool()> &isEnding) {
    std::string problem, left = saveFoundFiles(library, isEnding);
    const auto report = store::checkLibrary(library.paths(), {}, problem);
    if (!report)
        return problem;
    left += library.writer().change(
        [](sqlite::Database &database) { return database.execute(store::recountAssets); });
    for (const Finding &finding : report->findings) {
        if (isEnding())
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

} // namespace hoardd

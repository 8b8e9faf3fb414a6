#include "hoardd/upkeep/Repair.h"

#include <algorithm>

#include "hoardd/library/Clock.h"
#include "hoardd/library/Failures.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/pictures/DerivedSize.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/saving/AssetFiles.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/upkeep/RowRepair.h"
#include "hoardd/upkeep/Scrub.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/KeptSums.h"
#include "wickerlane/store/LibraryCheck.h"

namespace wickerlane::hoardd {

using store::Finding;

namespace {

bool isStillDamaged(const store::LibraryPaths &paths, const Finding &thumbnail) {
    return std::ranges::any_of(store::thumbnailKinds, [&](const store::ThumbnailKind &kind) {
        if (thumbnail.path != paths.thumbnail(thumbnail.uuid, kind.size))
            return false;
        const auto sound = store::checkThumbnail(thumbnail.path, kind.maxSide, store::ThumbnailLook::whole);
        return !sound && sound.error().kind != ProblemKind::notFound;
    });
}

Result<> makeThumbnailsOf(Library &library, const std::string &uuid, const ThumbnailRequest &request) {
    const auto asset = assetWithUUID(library, uuid);
    if (!asset)
        return passOn(asset);
    return makeThumbnails(library, (*asset)->record(), request);
}

/// A finding is old by the time that its turn comes: each case looks again at how things are now.
Result<> repairFinding(Library &library, const Finding &finding) {
    switch (finding.kind) {
    case Finding::Kind::missingThumbnail:
        return makeThumbnailsOf(library, finding.uuid, {});
    case Finding::Kind::damagedThumbnail: // with a new index, since caches may hold the damaged one
        return isStillDamaged(library.paths(), finding)
                   ? makeThumbnailsOf(library, finding.uuid, {.isForced = true, .newIndex = true})
                   : Result<>();
    case Finding::Kind::missingRendition:
        return forgetMissingRendition(library, finding.uuid);
    case Finding::Kind::strayOriginal:
        return moveStrayOriginal(library, finding.path, library.paths().lostAndFound());
    case Finding::Kind::strayCompanion:
        return repairStrayCompanion(library, finding.path);
    case Finding::Kind::strayThumbnail:
    case Finding::Kind::strayRendition:
        return moveStray(library, finding.path, library.paths().lostAndFound());
    case Finding::Kind::wrongSize:
        return measureAgain(library, finding.uuid);
    case Finding::Kind::wrongSum:
        return library.writer().change(store::recountSums);
    default:
        return fail(ProblemKind::failed, finding.detail.empty() ? "it can't be repaired" : finding.detail);
    }
}

/// Tries the pictures again that could not be decoded, and makes what thumbnails are due. Counts those that
/// are still refused.
void tryAgain(Library &library, std::span<const Finding> findings, FailureCount &failures) {
    tryUndecodable(library, Refused::byAny);
    makeThumbnailsLeftDue(library);
    for (const Finding &each : findings) {
        if (each.kind != Finding::Kind::undecodable)
            continue;
        const ReleaseScope scope;
        const auto asset = assetWithUUID(library, each.uuid);
        if (asset && (*asset)->record().isUndecodable())
            failures.add(std::string(nameOf(each.kind)) + ' ' + each.path,
                         {ProblemKind::invalid, (*asset)->record().problem, each.path});
    }
}

/// Whether the asset that a finding is about has been removed since.
bool hasGone(Library &library, const Finding &finding) {
    const auto isThere = finding.uuid.empty() ? Result<bool>(true) : library.writer().contains(finding.uuid);
    return isThere && !*isThere;
}

void logRepair(const Finding &finding, const Result<> &repaired) {
    if (repaired)
        JX_LOG(JXLogLevelNotice, JXPhotosStateLog, "repaired %s: %s", nameOf(finding.kind),
               finding.path.c_str());
    else
        JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't repair %s: %s %s", nameOf(finding.kind),
               finding.path.c_str(), repaired.error().text.c_str());
}

} // namespace

Result<> repairLibrary(Library &library) {
    finishRemovals(library);
    FailureCount failures;
    const auto rows = repairRows(library).and_then([&] { return restoreForgottenRows(library); });
    if (!rows)
        failures.add("entries of the store", rows.error());
    if (const auto saved = saveFoundFiles(library); !saved)
        failures.add("files that were found", saved.error());
    // They may have been put right since.
    if (const auto scrubbed = scrubFaulty(library, secondsNow()); !scrubbed)
        failures.add("originals with a fault", scrubbed.error());
    Result<> on;
    store::CheckOptions options;
    options.thumbnails = store::ThumbnailLook::whole;
    options.isCancelled = [&] { return !(on = library.goesOn()); };
    const auto report = store::checkLibrary(library.paths(), options);
    if (!report)
        return passOn(report);
    if (!on) // the report is not whole
        return on;
    WorkDone work{0, report->findings.size()};
    for (const Finding &finding : report->findings) {
        if (on = library.goesOn(work); !on)
            return on;
        ++work.done;
        // All are tried in the end, or have been tried.
        if (finding.kind == Finding::Kind::undecodable || finding.kind == Finding::Kind::unsavedFile)
            continue;
        ReleaseScope scope;
        const auto repaired = repairFinding(library, finding);
        if (!repaired && hasGone(library, finding))
            continue;
        logRepair(finding, repaired);
        if (!repaired)
            failures.add(std::string(nameOf(finding.kind)) + ' ' + finding.path, repaired.error());
    }
    saveFilesLeftFound(library); // companions of assets that have gone
    tryAgain(library, report->findings, failures);
    measureLeftUnknown(library);
    return failures.result("things could not be repaired");
}

Result<std::int64_t> secondsToRepair(const Library &library) {
    // Rates of two processors, rounded down: a check that reads thumbnails that are not in memory; pictures
    // of 12 megapixels to be decoded.
    constexpr double checkedEachSecond = 1'000, decodedEachSecond = 15;
    store::CheckOptions options;
    options.thumbnails = store::ThumbnailLook::name; // this must not take as long itself
    const auto report = store::checkLibrary(library.paths(), options);
    if (!report)
        return passOn(report);
    const auto toDecode = std::ranges::count_if(report->findings, [](const Finding &finding) {
        return finding.kind == Finding::Kind::missingThumbnail ||
               finding.kind == Finding::Kind::undecodable || finding.kind == Finding::Kind::strayOriginal;
    });
    const double seconds = 1 + static_cast<double>(report->assets) / checkedEachSecond +
                           static_cast<double>(toDecode) / decodedEachSecond;
    return static_cast<std::int64_t>(seconds);
}

} // namespace wickerlane::hoardd

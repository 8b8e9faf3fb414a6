#include "hoardd/service/Dispatch.h"

#include <exception>

#include "hoardd/Daemon.h"
#include "hoardd/service/Handlers.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/protocol/AllRows.h"

namespace wickerlane::hoardd {

namespace {

constexpr DispatchEntry table[] = {
    {&protocol::fileDescriptorForAssetURL, fileDescriptorForAssetURL},
    {&protocol::fileURLForAssetURL, fileURLForAssetURL},
    {&protocol::requestAccess, requestAccess, true},
    {&protocol::fileURLForNewAsset, fileURLForNewAsset},
    {&protocol::imageDataForAsset, imageDataForAsset, false, true},
    {&protocol::saveAsset, saveAsset},
    {&protocol::batchSaveAssets, batchSaveAssets},
    {&protocol::launchHoardd, launchHoardd, true},
    {&protocol::addGroup, addGroup},
    {&protocol::addAssetToAlbum, addAssetToAlbum},
    {&protocol::deleteAsset, deleteAsset, false, true},
    {&protocol::setExternalUsageIntent, setExternalUsageIntent},
    {&protocol::createPixholdDatabase, createPixholdDatabase},
    {&protocol::getPhotosAndVideosCount, getPhotosAndVideosCount},
    {&protocol::setLargePreviewImage, setLargePreviewImage},
    {&protocol::updateThumbnails, updateThumbnails},
    {&protocol::updateCameraPreviewWell, updateCameraPreviewWell},
    {&protocol::updateModelAfterOTARestore, updateModelAfterOTARestore},
    {&protocol::updateRestoredAsset, updateRestoredAsset},
    {&protocol::finalizeOTARestore, finalizeOTARestore},
    {&protocol::importFileSystemAssets, importFileSystemAssets},
    {&protocol::importFileSystemAssetsInBackground, importFileSystemAssets},
    {&protocol::writeDataInBackground, writeDataInBackground},
    {&protocol::secondsNeededToCleanupModel, secondsNeededToCleanupModel, false, true},
    {&protocol::cleanupModel, cleanupModel},
    {&protocol::repairPotentialModelCorruption, repairPotentialModelCorruption},
    {&protocol::dataMigrationWillFinish, dataMigrationWillFinish},
    {&protocol::notifyAboutTermination, notifyAboutTermination},
    {&protocol::recalculateCachedAlbumCounts, recalculateCachedAlbumCounts},
    {&protocol::clearChangeStore, clearChangeStore},
    {&protocol::recoverFromCrashIfNeeded, recoverFromCrashIfNeeded},
    {&protocol::createSnapriverAlbum, createSnapriverAlbum},
    {&protocol::enableSnaprivers, enableSnaprivers},
    {&protocol::repairSingletonObjects, repairSingletonObjects},
    {&protocol::getCurrentBulletins, getCurrentBulletins},
    {&protocol::getCurrentApplicationBadgeCount, getCurrentApplicationBadgeCount},
    {&protocol::getThumbnailImageDataForBulletin, getThumbnailImageDataForBulletin},
    {&protocol::clearAllBulletins, clearAllBulletins},
    {&protocol::cleanupForStoreDemoMode, cleanupForStoreDemoMode},
    {&protocol::updateSharedAlbumsCachedServerConfigurationLimits,
     updateSharedAlbumsCachedServerConfigurationLimits},
    {&protocol::attemptToPurgeSharedAssetsSpace, attemptToPurgeSharedAssetsSpace, false, true},
    {&protocol::purgeableSharedAssetsSpace, purgeableSharedAssetsSpace, false, true},
    {&protocol::getLibrarySizes, getLibrarySizes, false, true},
    {&protocol::keyForEmailAddress, keyForEmailAddress},
    {&protocol::emailAddressForKey, emailAddressForKey},
    {&protocol::automaticallyDeleteEmptyAlbum, automaticallyDeleteEmptyAlbum},
    {&protocol::personInfoDictionary, personInfoDictionary},
    {&protocol::setPersonInfoDictionary, setPersonInfoDictionary},
    {&protocol::rebuildMoments, rebuildMoments},
    {&protocol::rebuildMomentLists, rebuildMomentLists},
    {&protocol::analyzeAllMoments, analyzeAllMoments},
    {&protocol::analyzeInvalidMomentsAndDupesIfNeeded, analyzeInvalidMomentsAndDupesIfNeeded},
    {&protocol::analyzeMoment, analyzeMoment},
    {&protocol::analyzeMomentList, analyzeMomentList},
    {&protocol::rebuildCloudFeed, rebuildCloudFeed},
    {&protocol::resetDupesAnalysis, resetDupesAnalysis},
    {&protocol::getCurrentModelVersion, getCurrentModelVersion},
    {&protocol::estimatedOutputFileLength, estimatedOutputFileLength, false, true},
    {&protocol::hasCompletedRestorePostProcessing, hasCompletedRestorePostProcessing},
    {&protocol::hasCompletedMomentAnalysis, hasCompletedMomentAnalysis},
    {&protocol::rebuildAllThumbnails, rebuildAllThumbnails},
    {&protocol::downloadAsset, downloadAsset},
    {&protocol::videoMetadata, videoMetadata, false, true},
    {&protocol::setAreDuplicates, setAreDuplicates},
};

} // namespace

std::span<const DispatchEntry> dispatchTable() {
    return table;
}

namespace {

void refuse(const Call &call, std::string_view why) {
    JX_LOG(JXLogLevelWarning, JXGatekeeperMsgLog, "refused a request of process %d: %s", call.peer().process,
           std::string(why).c_str());
    call.refuse(why);
}

void handle(const DispatchEntry &entry, Daemon &daemon, const Call &call) {
    try {
        entry.handle(daemon, call);
    } catch (const std::exception &failure) {
        refuse(call, failure.what());
    }
}

/// Why a text of a request is refused; empty when none is. Names, addresses and paths are far shorter.
std::string oversizeIn(const Call &call, const protocol::Row &row) {
    constexpr std::size_t mostTextBytes = 64 << 10;
    for (const protocol::Field &field : row.requestKeys.all())
        if (call.message()->getString(field.key).value_or("").size() > mostTextBytes)
            return std::string("the text under \"") + field.key + "\" is longer than 64 KiB";
    return {};
}

} // namespace

void dispatch(Daemon &daemon, const Call &call) {
    const auto *operation = as<MessageScalar>(call.value(protocol::keys::operation));
    if (operation == nullptr || operation->kind() != MessageKind::int64)
        return refuse(call, "the request names no operation");
    const protocol::OperationCode code = operation->int64Value();

    // Several rows may share a code: the request is served by the first whose shape it has.
    std::string problem;
    for (const DispatchEntry &entry : table) {
        if (entry.row->code != code)
            continue;
        if (const std::string misfit = protocol::problemWith(call.message(), *entry.row); !misfit.empty()) {
            problem += (problem.empty() ? "" : "; ") + misfit;
            continue;
        }
        if (!entry.isForEverybody && daemon.accessOf(call.peer()) != AccessStatus::granted)
            return refuse(call, "this user has no access to the photo library");
        if (const std::string oversize = oversizeIn(call, *entry.row); !oversize.empty())
            return refuse(call, oversize);
        if (!entry.mayTakeLong)
            return handle(entry, daemon, call);
        return WorkQueue::global()->async(
            [&entry, &daemon, call, serving = daemon.noteServing()] { handle(entry, daemon, call); });
    }
    refuse(call, problem.empty() ? "there is no operation " + std::to_string(code) : problem);
}

} // namespace wickerlane::hoardd

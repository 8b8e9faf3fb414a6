#include "hoardd/Dispatch.h"

#include <exception>

#include "hoardd/Daemon.h"
#include "hoardd/Handlers.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/protocol/Operations.h"

namespace hoardd {

using namespace wickerlane;

namespace {

constexpr DispatchEntry table[] = {
    {&protocol::fileDescriptorForAssetURL, fileDescriptorForAssetURL},
    {&protocol::fileURLForAssetURL, fileURLForAssetURL},
    {&protocol::requestAccess, requestAccess, true},
    {&protocol::fileURLForNewAsset, fileURLForNewAsset},
    {&protocol::imageDataForAsset, imageDataForAsset},
    {&protocol::saveAsset, saveAsset},
    {&protocol::batchSaveAssets, batchSaveAssets},
    {&protocol::launchHoardd, launchHoardd, true},
    {&protocol::addGroup, addGroup},
    {&protocol::addAssetToAlbum, addAssetToAlbum},
    {&protocol::deleteAsset, deleteAsset},
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
    {&protocol::secondsNeededToCleanupModel, secondsNeededToCleanupModel},
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
    {&protocol::attemptToPurgeSharedAssetsSpace, attemptToPurgeSharedAssetsSpace},
    {&protocol::purgeableSharedAssetsSpace, purgeableSharedAssetsSpace},
    {&protocol::getLibrarySizes, getLibrarySizes},
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
    {&protocol::estimatedOutputFileLength, estimatedOutputFileLength},
    {&protocol::hasCompletedRestorePostProcessing, hasCompletedRestorePostProcessing},
    {&protocol::hasCompletedMomentAnalysis, hasCompletedMomentAnalysis},
    {&protocol::rebuildAllThumbnails, rebuildAllThumbnails},
    {&protocol::downloadAsset, downloadAsset},
    {&protocol::videoMetadata, videoMetadata},
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
        try {
            entry.handle(daemon, call);
        } catch (const std::exception &failure) {
            refuse(call, failure.what());
        }
        return;
    }
    refuse(call, problem.empty() ? "there is no operation " + std::to_string(code) : problem);
}

} // namespace hoardd

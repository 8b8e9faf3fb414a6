// The handlers of all operations, one for each row; a file a family.
#ifndef HOARDD_SERVICE_HANDLERS_H
#define HOARDD_SERVICE_HANDLERS_H

#include "hoardd/service/Call.h"

namespace wickerlane::hoardd {

class Daemon;

// AccessHandlers.cpp
void requestAccess(Daemon &daemon, const Call &call);
void launchHoardd(Daemon &daemon, const Call &call);

// AssetHandlers.cpp
void fileDescriptorForAssetURL(Daemon &daemon, const Call &call);
void fileURLForAssetURL(Daemon &daemon, const Call &call);
void fileURLForNewAsset(Daemon &daemon, const Call &call);
void imageDataForAsset(Daemon &daemon, const Call &call);

// RenditionHandlers.cpp
void setLargePreviewImage(Daemon &daemon, const Call &call);
void updateThumbnails(Daemon &daemon, const Call &call);
void updateCameraPreviewWell(Daemon &daemon, const Call &call);
void downloadAsset(Daemon &daemon, const Call &call);

// VideoHandlers.cpp
void videoMetadata(Daemon &daemon, const Call &call);
void estimatedOutputFileLength(Daemon &daemon, const Call &call);

// FileHandlers.cpp
void updateRestoredAsset(Daemon &daemon, const Call &call);
void writeDataInBackground(Daemon &daemon, const Call &call);

// SaveHandlers.cpp
void saveAsset(Daemon &daemon, const Call &call);
void batchSaveAssets(Daemon &daemon, const Call &call);

// AnalysisHandlers.cpp
void rebuildMoments(Daemon &daemon, const Call &call);
void rebuildMomentLists(Daemon &daemon, const Call &call);
void analyzeAllMoments(Daemon &daemon, const Call &call);
void analyzeInvalidMomentsAndDupesIfNeeded(Daemon &daemon, const Call &call);
void analyzeMoment(Daemon &daemon, const Call &call);
void analyzeMomentList(Daemon &daemon, const Call &call);
void rebuildCloudFeed(Daemon &daemon, const Call &call);
void resetDupesAnalysis(Daemon &daemon, const Call &call);
void hasCompletedMomentAnalysis(Daemon &daemon, const Call &call);
void rebuildAllThumbnails(Daemon &daemon, const Call &call);
void setAreDuplicates(Daemon &daemon, const Call &call);

// LibraryHandlers.cpp
void createPixholdDatabase(Daemon &daemon, const Call &call);
void getPhotosAndVideosCount(Daemon &daemon, const Call &call);
void getCurrentModelVersion(Daemon &daemon, const Call &call);
void repairPotentialModelCorruption(Daemon &daemon, const Call &call);
void getLibrarySizes(Daemon &daemon, const Call &call);
void importFileSystemAssets(Daemon &daemon, const Call &call);
void updateModelAfterOTARestore(Daemon &daemon, const Call &call);
void finalizeOTARestore(Daemon &daemon, const Call &call);
void hasCompletedRestorePostProcessing(Daemon &daemon, const Call &call);
void secondsNeededToCleanupModel(Daemon &daemon, const Call &call);
void cleanupModel(Daemon &daemon, const Call &call);
void dataMigrationWillFinish(Daemon &daemon, const Call &call);
void notifyAboutTermination(Daemon &daemon, const Call &call);
void clearChangeStore(Daemon &daemon, const Call &call);
void recoverFromCrashIfNeeded(Daemon &daemon, const Call &call);
void repairSingletonObjects(Daemon &daemon, const Call &call);
void cleanupForStoreDemoMode(Daemon &daemon, const Call &call);

// AlbumHandlers.cpp
void addGroup(Daemon &daemon, const Call &call);
void addAssetToAlbum(Daemon &daemon, const Call &call);
void deleteAsset(Daemon &daemon, const Call &call);
void setExternalUsageIntent(Daemon &daemon, const Call &call);
void recalculateCachedAlbumCounts(Daemon &daemon, const Call &call);
void automaticallyDeleteEmptyAlbum(Daemon &daemon, const Call &call);

// SharingHandlers.cpp
void createSnapriverAlbum(Daemon &daemon, const Call &call);
void enableSnaprivers(Daemon &daemon, const Call &call);
void getCurrentBulletins(Daemon &daemon, const Call &call);
void getCurrentApplicationBadgeCount(Daemon &daemon, const Call &call);
void getThumbnailImageDataForBulletin(Daemon &daemon, const Call &call);
void clearAllBulletins(Daemon &daemon, const Call &call);
void updateSharedAlbumsCachedServerConfigurationLimits(Daemon &daemon, const Call &call);
void attemptToPurgeSharedAssetsSpace(Daemon &daemon, const Call &call);
void purgeableSharedAssetsSpace(Daemon &daemon, const Call &call);
void keyForEmailAddress(Daemon &daemon, const Call &call);
void emailAddressForKey(Daemon &daemon, const Call &call);
void personInfoDictionary(Daemon &daemon, const Call &call);
void setPersonInfoDictionary(Daemon &daemon, const Call &call);

} // namespace wickerlane::hoardd

#endif

// All rows.
#ifndef WICKERLANE_PROTOCOL_ALLROWS_H
#define WICKERLANE_PROTOCOL_ALLROWS_H

#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/AnalysisRows.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/CoreRows.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/protocol/SharingRows.h"

namespace wickerlane::protocol {

/// In the order of their codes.
inline constexpr const Row *allRows[] = {
    &fileDescriptorForAssetURL,
    &fileURLForAssetURL,
    &requestAccess,
    &fileURLForNewAsset,
    &imageDataForAsset,
    &saveAsset,
    &batchSaveAssets,
    &launchHoardd,
    &addGroup,
    &addAssetToAlbum,
    &deleteAsset,
    &setExternalUsageIntent,
    &createPixholdDatabase,
    &getPhotosAndVideosCount,
    &setLargePreviewImage,
    &updateThumbnails,
    &updateCameraPreviewWell,
    &updateModelAfterOTARestore,
    &updateRestoredAsset,
    &finalizeOTARestore,
    &importFileSystemAssets,
    &importFileSystemAssetsInBackground,
    &writeDataInBackground,
    &secondsNeededToCleanupModel,
    &cleanupModel,
    &repairPotentialModelCorruption,
    &dataMigrationWillFinish,
    &notifyAboutTermination,
    &recalculateCachedAlbumCounts,
    &clearChangeStore,
    &recoverFromCrashIfNeeded,
    &createSnapriverAlbum,
    &enableSnaprivers,
    &repairSingletonObjects,
    &getCurrentBulletins,
    &getCurrentApplicationBadgeCount,
    &getThumbnailImageDataForBulletin,
    &clearAllBulletins,
    &cleanupForStoreDemoMode,
    &updateSharedAlbumsCachedServerConfigurationLimits,
    &attemptToPurgeSharedAssetsSpace,
    &purgeableSharedAssetsSpace,
    &getLibrarySizes,
    &keyForEmailAddress,
    &emailAddressForKey,
    &automaticallyDeleteEmptyAlbum,
    &personInfoDictionary,
    &setPersonInfoDictionary,
    &rebuildMoments,
    &rebuildMomentLists,
    &analyzeAllMoments,
    &analyzeInvalidMomentsAndDupesIfNeeded,
    &analyzeMoment,
    &analyzeMomentList,
    &rebuildCloudFeed,
    &resetDupesAnalysis,
    &getCurrentModelVersion,
    &estimatedOutputFileLength,
    &hasCompletedRestorePostProcessing,
    &hasCompletedMomentAnalysis,
    &rebuildAllThumbnails,
    &downloadAsset,
    &videoMetadata,
    &setAreDuplicates,
};

} // namespace wickerlane::protocol

#endif

#include "wickerlane/protocol/AllRows.h"

#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/AnalysisRows.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/CoreRows.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/protocol/QueryRows.h"
#include "wickerlane/protocol/SharingRows.h"

namespace wickerlane::protocol {
namespace {

// Of rows that share a code, requests of the later ones fit none of those before them.
constexpr const Row *rows[] = {
    // CoreRows.h
    &requestAccess,
    &launchHoardd,
    &takeTraffic,
    &progressOfWork,
    // AssetRows.h
    &fileDescriptorForAssetURL,
    &fileURLForAssetURL,
    &fileURLForNewAsset,
    &imageDataForAsset,
    &saveAsset,
    &batchSaveAssets,
    &saveOpenFiles,
    &setLargePreviewImage,
    &updateThumbnails,
    &updateCameraPreviewWell,
    &updateRestoredAsset,
    &writeDataInBackground,
    &estimatedOutputFileLength,
    &downloadAsset,
    &videoMetadata,
    &adjustDates,
    &revertAsset,
    &renditionOfAsset,
    &setDetails,
    // AlbumRows.h
    &addGroup,
    &addAssetToAlbum,
    &deleteAsset,
    &removeAsset,
    &restoreTrashedAsset,
    &emptyTrash,
    &setExternalUsageIntent,
    &recalculateCachedAlbumCounts,
    &automaticallyDeleteEmptyAlbum,
    &renameAlbum,
    &deleteAlbum,
    &removeFromAlbum,
    // LibraryRows.h
    &createPixholdDatabase,
    &getPhotosAndVideosCount,
    &updateModelAfterOTARestore,
    &finalizeOTARestore,
    &importFileSystemAssets,
    &importFileSystemAssetsInBackground,
    &secondsNeededToCleanupModel,
    &cleanupModel,
    &repairPotentialModelCorruption,
    &dataMigrationWillFinish,
    &notifyAboutTermination,
    &clearChangeStore,
    &recoverFromCrashIfNeeded,
    &repairSingletonObjects,
    &cleanupForStoreDemoMode,
    &getLibrarySizes,
    &getCurrentModelVersion,
    &hasCompletedRestorePostProcessing,
    // AnalysisRows.h
    &rebuildMoments,
    &rebuildMomentLists,
    &analyzeAllMoments,
    &analyzeInvalidMomentsAndDupesIfNeeded,
    &analyzeMoment,
    &analyzeMomentList,
    &rebuildCloudFeed,
    &resetDupesAnalysis,
    &hasCompletedMomentAnalysis,
    &rebuildAllThumbnails,
    &setAreDuplicates,
    // SharingRows.h
    &createSnapriverAlbum,
    &enableSnaprivers,
    &getCurrentBulletins,
    &getCurrentApplicationBadgeCount,
    &getThumbnailImageDataForBulletin,
    &clearAllBulletins,
    &updateSharedAlbumsCachedServerConfigurationLimits,
    &attemptToPurgeSharedAssetsSpace,
    &purgeableSharedAssetsSpace,
    &keyForEmailAddress,
    &emailAddressForKey,
    &personInfoDictionary,
    &setPersonInfoDictionary,
    // QueryRows.h
    &assetsMatchingQuery,
    &sectionsOfAssets,
    &allAlbums,
    &momentsMatchingQuery,
    &duplicatesMatchingQuery,
    &changesSinceToken,
    &awaitChangesSinceToken,
    &trashMatchingQuery,
    &companionsOfPhotos,
    &countOfAssets,
    &allMomentLists,
    &cloudFeed,
};

} // namespace

std::span<const Row *const> allRows() {
    return rows;
}

const Row *rowNamed(std::string_view name) {
    for (const Row *row : rows)
        if (row->name == name)
            return row;
    return nullptr;
}

const Row *rowOf(const MessageDictionary *request) {
    if (request->kindOf(keys::operation.text) != MessageKind::int64)
        return nullptr;
    const OperationCode code = request->getInt64(keys::operation.text);
    for (const Row *row : rows)
        if (row->code == code && problemWith(request, *row).empty())
            return row;
    return nullptr;
}

} // namespace wickerlane::protocol

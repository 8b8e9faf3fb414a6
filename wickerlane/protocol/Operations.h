// All rows, for whoever walks them: the daemon's dispatch and the tests.
#ifndef WICKERLANE_PROTOCOL_OPERATIONS_H
#define WICKERLANE_PROTOCOL_OPERATIONS_H

#include "wickerlane/protocol/AnalysisOperations.h"
#include "wickerlane/protocol/AssetOperations.h"
#include "wickerlane/protocol/CoreOperations.h"
#include "wickerlane/protocol/LibraryOperations.h"

namespace wickerlane::protocol {

/// In the order of their codes.
inline constexpr const Operation *allOperations[] = {
    &fileDescriptorForAssetURL,
    &fileURLForAssetURL,
    &requestAccess,
    &fileURLForNewAsset,
    &imageDataForAsset,
    &saveAsset,
    &batchSaveAssets,
    &launchHoardd,
    &createPixholdDatabase,
    &getPhotosAndVideosCount,
    &setLargePreviewImage,
    &updateThumbnails,
    &updateCameraPreviewWell,
    &updateRestoredAsset,
    &writeDataInBackground,
    &repairPotentialModelCorruption,
    &rebuildMoments,
    &rebuildMomentLists,
    &analyzeAllMoments,
    &analyzeInvalidMomentsAndDupesIfNeeded,
    &analyzeMoment,
    &analyzeMomentList,
    &resetDupesAnalysis,
    &getCurrentModelVersion,
    &estimatedOutputFileLength,
    &hasCompletedMomentAnalysis,
    &rebuildAllThumbnails,
    &downloadAsset,
    &videoMetadata,
    &setAreDuplicates,
};

} // namespace wickerlane::protocol

#endif

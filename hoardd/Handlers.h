// The handlers of all operations, one for each row; a file a family.
#ifndef HOARDD_HANDLERS_H
#define HOARDD_HANDLERS_H

#include "hoardd/Call.h"

namespace hoardd {

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
void resetDupesAnalysis(Daemon &daemon, const Call &call);
void hasCompletedMomentAnalysis(Daemon &daemon, const Call &call);
void rebuildAllThumbnails(Daemon &daemon, const Call &call);
void setAreDuplicates(Daemon &daemon, const Call &call);

// LibraryHandlers.cpp
void createPixholdDatabase(Daemon &daemon, const Call &call);
void getPhotosAndVideosCount(Daemon &daemon, const Call &call);
void getCurrentModelVersion(Daemon &daemon, const Call &call);
void repairPotentialModelCorruption(Daemon &daemon, const Call &call);

} // namespace hoardd

#endif

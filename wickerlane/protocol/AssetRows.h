// The rows of operations on asset files, and of saves.
#ifndef WICKERLANE_PROTOCOL_ASSETROWS_H
#define WICKERLANE_PROTOCOL_ASSETROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::protocol {

inline constexpr Row fileDescriptorForAssetURL{1, "fileDescriptorForAssetURL:", request(keys::assetURL),
                                               reply(keys::fileDescriptor)};

inline constexpr Row fileURLForAssetURL{
    2, "fileURLForAssetURL:withAdjustments:", request(keys::assetURL, whenSet(keys::withAdjustments)),
    reply(keys::fileURL)};

inline constexpr Row fileURLForNewAsset{
    5, "fileURLForNewAssetWithType:extension:", request(keys::assetType, keys::extension), reply(keys::url)};

/// Sent by two methods: requestImageDataForAsset:format:handler: and imageDataForAsset:format:.
inline constexpr Row imageDataForAsset{6, "imageDataForAsset:format:", request(keys::objectID, keys::format),
                                       reply(keys::imageData)};

inline constexpr Row saveAsset{
    8, "saveAssetWithJobDictionary:handler:imageSurface:previewImageSurface:",
    request(whenSet(keys::jobDictionary), whenSet(keys::imagePort), whenSet(keys::previewImagePort)),
    reply(keys::resultJobDictionary, keys::noData, keys::jobQueueFull)};

inline constexpr Row batchSaveAssets{9, "batchSaveAssetsWithJobDictionaries:handler:",
                                     request(keys::jobDictionaries), reply(keys::resultJobDictionaries)};

/// Jobs as above, and the files that they name, opened by the client.
inline constexpr Row saveOpenFiles{
    1041, "saveOpenFilesWithJobDictionaries:handler:", request(keys::jobDictionaries, keys::openFiles),
    reply(keys::resultJobDictionaries)};

/// Sent twice for each call.
inline constexpr Row setLargePreviewImage{
    17, "setLargePreviewImageForAssetWithURL:imageData:properties:handler:",
    request(keys::assetURL, keys::imageData, whenSet(keys::properties)),
    reply(keys::success, keys::hasEntitlement, keys::problemKind, keys::problemText)};

inline constexpr Row updateThumbnails{
    18, "updateThumbnailsForPhotos:waitForReply:assignNewIndex:forceRefresh:",
    request(keys::photoUUIDs, keys::assignNewIndex, keys::forceRefresh, keys::waitingForReply), reply()};

inline constexpr Row updateCameraPreviewWell{
    19, "updateCameraPreviewWellImage:", request(whenSet(keys::objectIDText)), reply()};

/// Shares its code with finalizeOTARestore, which has other keys.
inline constexpr Row updateRestoredAsset{
    21, "updateRestoredAssetWithUUID:paths:", request(keys::assetUUID, whenSet(keys::assetPaths)), reply()};

inline constexpr Row writeDataInBackground{
    24, "writeDataInBackground:toFileURL:", request(keys::dataToSave, keys::destinationURL), reply()};

inline constexpr Row estimatedOutputFileLength{
    70, "estimatedOutputFileLengthForVideoURL:fallbackFilePath:exportPreset:exportProperties:",
    request(keys::videoURL, whenSet(keys::fallbackFilePath), whenSet(keys::exportPreset),
            whenSet(keys::exportProperties)),
    reply(keys::fileLength)};

inline constexpr Row downloadAsset{
    74, "downloadAsset:requestThumbnail:shouldPrioritize:shouldExtendTimer:",
    request(keys::objectID, keys::requestThumbnail, keys::shouldPrioritize, keys::shouldExtendTimer),
    reply()};

inline constexpr Row videoMetadata{75, "videoMetadataAtPath:", request(keys::filePath),
                                   reply(keys::metadata)};

/// Puts the dates right of photos whose camera's clock was wrong. An addition to the original operations.
inline constexpr Row adjustDates{
    1010, "adjustDatesBySeconds:forPhotos:", request(keys::seconds, keys::photoUUIDs), reply()};

// Beyond the original operations: these have codes of their own.

/// Takes the edited rendition of an asset away.
inline constexpr Row revertAsset{1020, "revertAssetWithURL:", request(keys::assetURL), reply()};

/// Where the edited rendition of an asset is and what its editor said of it; neither when it has none.
inline constexpr Row renditionOfAsset{1021, "renditionOfAssetWithURL:", request(keys::assetURL),
                                      reply(keys::fileURL, keys::properties)};

/// Sets what people say of assets: favourite, hidden, rating, caption, keywords. See DetailKeys.h.
inline constexpr Row setDetails{1040, "setDetails:forPhotos:", request(keys::properties, keys::photoUUIDs),
                                reply()};

} // namespace wickerlane::protocol

#endif

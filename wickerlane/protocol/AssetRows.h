// The rows of asset files and saves.
#ifndef WICKERLANE_PROTOCOL_ASSETROWS_H
#define WICKERLANE_PROTOCOL_ASSETROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Operation.h"

namespace wickerlane::protocol {

inline constexpr Operation fileDescriptorForAssetURL{1, "fileDescriptorForAssetURL:", request(keys::assetURL),
                                                     reply(keys::fileDescriptor)};

inline constexpr Operation fileURLForAssetURL{
    2, "fileURLForAssetURL:withAdjustments:", request(keys::assetURL, whenSet(keys::withAdjustments)),
    reply(keys::fileURL)};

inline constexpr Operation fileURLForNewAsset{
    5, "fileURLForNewAssetWithType:extension:", request(keys::assetType, keys::extension), reply(keys::url)};

/// Asked for by two methods: requestImageDataForAsset:format:handler: and imageDataForAsset:format:.
inline constexpr Operation imageDataForAsset{
    6, "imageDataForAsset:format:", request(keys::objectID, keys::format), reply(keys::imageData)};

inline constexpr Operation saveAsset{
    8, "saveAssetWithJobDictionary:handler:imageSurface:previewImageSurface:",
    request(whenSet(keys::jobDictionary), whenSet(keys::imagePort), whenSet(keys::previewImagePort)),
    reply(keys::resultJobDictionary, keys::noData, keys::jobQueueFull)};

inline constexpr Operation batchSaveAssets{
    9, "batchSaveAssetsWithJobDictionaries:handler:", request(keys::jobDictionaries),
    reply(keys::resultJobDictionaries)};

/// Travels twice for one call.
inline constexpr Operation setLargePreviewImage{
    17, "setLargePreviewImageForAssetWithURL:imageData:properties:handler:",
    request(keys::assetURL, keys::imageData, whenSet(keys::properties)),
    reply(keys::success, keys::hasEntitlement)};

inline constexpr Operation updateThumbnails{
    18, "updateThumbnailsForPhotos:waitForReply:assignNewIndex:forceRefresh:",
    request(keys::photoUUIDs, keys::assignNewIndex, keys::forceRefresh, keys::waitingForReply), reply()};

inline constexpr Operation updateCameraPreviewWell{
    19, "updateCameraPreviewWellImage:", request(whenSet(keys::objectIDText)), reply()};

/// Shares its code with finalizeOTARestore, which carries other keys.
inline constexpr Operation updateRestoredAsset{
    21, "updateRestoredAssetWithUUID:paths:", request(keys::assetUUID, whenSet(keys::assetPaths)), reply()};

inline constexpr Operation writeDataInBackground{
    24, "writeDataInBackground:toFileURL:", request(keys::dataToSave, keys::destinationURL), reply()};

inline constexpr Operation estimatedOutputFileLength{
    70, "estimatedOutputFileLengthForVideoURL:fallbackFilePath:exportPreset:exportProperties:",
    request(keys::videoURL, whenSet(keys::fallbackFilePath), whenSet(keys::exportPreset),
            whenSet(keys::exportProperties)),
    reply(keys::fileLength)};

inline constexpr Operation downloadAsset{
    74, "downloadAsset:requestThumbnail:shouldPrioritize:shouldExtendTimer:",
    request(keys::objectID, keys::requestThumbnail, keys::shouldPrioritize, keys::shouldExtendTimer),
    reply()};

inline constexpr Operation videoMetadata{75, "videoMetadataAtPath:", request(keys::filePath),
                                         reply(keys::metadata)};

} // namespace wickerlane::protocol

#endif

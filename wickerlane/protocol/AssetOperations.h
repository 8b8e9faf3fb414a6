// The rows of asset files and saves.
#ifndef WICKERLANE_PROTOCOL_ASSETOPERATIONS_H
#define WICKERLANE_PROTOCOL_ASSETOPERATIONS_H

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

} // namespace wickerlane::protocol

#endif

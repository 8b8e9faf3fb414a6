// What an asset looks like: its original, and pictures made from it.
//
// The `error` of the functions may be null. What is stored there is borrowed; it is what WLLastError() gives,
// and null when the function has succeeded.
#ifndef WICKERLANE_API_WLASSETDATA_H
#define WICKERLANE_API_WLASSETDATA_H

#include "wickerlane/api/WLAsset.h"

/// What can be asked for. All but the original are upright.
enum {
    WLPictureOriginal = 0,    ///< The bytes of the file that was saved, of a photo or a video.
    WLPictureSmallJPEG = 1,   ///< At most 256 pixels a side; kept once made.
    WLPicturePreviewJPEG = 2, ///< At most 1024 pixels a side; kept once made.
    WLPictureFullJPEG = 3,    ///< Of full size; made on each request.
    WLPictureFullPNG = 4,     ///< The same, without loss.
    WLPictureLargeJPEG = 5,   ///< At most 2048 pixels a side; kept once made.
};

/// The original, open for reading; the caller closes the descriptor. It is to be preferred for large files,
/// such as videos. -1 on failure; a null asset is WLErrorInvalid. Blocks.
WL_EXTERN_C int WLAssetOpenOriginal(const WLAsset *asset, WLError **error);

/// The bytes of one of the pictures above. Null on failure, and when the file can't be decoded; a null asset
/// is WLErrorInvalid. Blocks.
WL_EXTERN_C WLData *WLAssetCreatePicture(const WLAsset *asset, int picture, WLError **error);

/// The same, without waiting. The handler gets the bytes, borrowed, or null and an error. A null handler does
/// nothing.
WL_EXTERN_C void WLAssetRequestPicture(const WLAsset *asset, int picture,
                                       void (*handler)(void *context, WLData *data, WLError *error),
                                       void *context, WLReleaseContext release);

/// Asks for an asset that may not be on this device. `withThumbnail`: its thumbnails too. `isUrgent`: before
/// other work of this program. `isKept`: keeps its larger thumbnail for at least a day. Returns at once; a
/// null asset is ignored.
WL_EXTERN_C void WLAssetDownload(const WLAsset *asset, bool withThumbnail, bool isUrgent, bool isKept);

/// Shows an asset in the preview well of the camera; null clears it. Returns at once.
WL_EXTERN_C void WLAssetShowInCameraPreview(const WLAsset *asset);

// Thumbnails. `assets` holds WLAsset objects; others are ignored. `isForced` also makes existing ones again;
// `assignsNewIndex` gives each asset a new thumbnail index.

/// Makes the missing ones. False on failure. Blocks until they are made.
WL_EXTERN_C bool WLAssetsMakeThumbnails(WLArray *assets, bool isForced, bool assignsNewIndex,
                                        WLError **error);

/// The same without waiting for it.
WL_EXTERN_C void WLAssetsMakeThumbnailsInBackground(WLArray *assets, bool isForced, bool assignsNewIndex);

/// Makes all thumbnails of the library again, which takes long. False on failure. Blocks.
WL_EXTERN_C bool WLThumbnailsRebuild(WLError **error);

#endif

// Edited versions of assets, their dates, and how they are used.
//
// The functions that wait for the daemon return false on failure. `error` may be null; what is stored there
// is borrowed: it is what WLLastError() gives, and null when the daemon has done it. A null asset is
// WLErrorInvalid.
#ifndef WICKERLANE_API_WLEDIT_H
#define WICKERLANE_API_WLEDIT_H

#include "wickerlane/api/WLAsset.h"

/// Stores an edited version of an asset, in place of one that there is. `picture` is a file of a picture;
/// `properties`, which may be null, is what its editor says of it. The original stays as it is.
/// WLErrorInvalid when the picture can't be decoded, WLErrorRefused without the right to change assets.
/// Blocks.
WL_EXTERN_C bool WLAssetSetEdit(const WLAsset *asset, WLData *picture, WLDictionary *properties,
                                WLError **error);

/// Takes the edited version of an asset away. WLErrorNotFound when it has none. Blocks.
WL_EXTERN_C bool WLAssetRevert(const WLAsset *asset, WLError **error);

/// Moves the dates of photos whose camera's clock was wrong by that many seconds: an array of 1 to 1000
/// WLAsset objects, of which other objects are ignored. On failure no date has changed. Blocks.
WL_EXTERN_C bool WLAssetsAdjustDates(WLArray *assets, int64_t seconds, WLError **error);

/// Records how an asset is used outside the library, which WLAssetExternalUsageIntent() gives. Blocks.
WL_EXTERN_C bool WLAssetSetExternalUsageIntent(const WLAsset *asset, uint64_t intent, WLError **error);

/// The same, without waiting. The handler is called on the global queue; a null one does nothing.
WL_EXTERN_C void WLAssetSetExternalUsageIntentWithHandler(const WLAsset *asset, uint64_t intent,
                                                          WLDoneHandler handler, void *context,
                                                          WLReleaseContext release);

/// The file of the edited version of an asset, borrowed; null without an error when it has none. Stores in
/// `properties`, which may be null, what its editor recorded, borrowed; null when it recorded nothing.
/// Blocks.
WL_EXTERN_C WLURL *WLAssetGetEdit(const WLAsset *asset, WLDictionary **properties, WLError **error);

#endif

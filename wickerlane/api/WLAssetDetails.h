// Setting what people say of assets. What is not set stays as it is.
//
//     WLAssetDetails *details = WLAssetDetailsCreate();
//     WLAssetDetailsSetFavourite(details, true);
//     WLAssetDetailsSetRating(details, 5);
//     bool done = WLAssetDetailsApply(details, assets, &error);
//     WLRelease(details);
//
// One thread at a time may use an object of details. A setter ignores null details. A value that makes no
// sense is found when the details are applied.
#ifndef WICKERLANE_API_WLASSETDETAILS_H
#define WICKERLANE_API_WLASSETDETAILS_H

#include "wickerlane/api/WLAsset.h"

#if WL_HAS_CLASSES
using WLAssetDetails = wickerlane::MutableDictionary;
#else
typedef struct WLAssetDetails WLAssetDetails;
#endif

/// Details that set nothing yet. Never null.
WL_EXTERN_C WLAssetDetails *WLAssetDetailsCreate(void);

WL_EXTERN_C void WLAssetDetailsSetFavourite(WLAssetDetails *details, bool isFavourite);
WL_EXTERN_C void WLAssetDetailsSetHidden(WLAssetDetails *details, bool isHidden);

/// 1 to 5 stars; 0 takes the rating away.
WL_EXTERN_C void WLAssetDetailsSetRating(WLAssetDetails *details, int64_t rating);

/// At most 4096 bytes; an empty text takes the caption away. Returns false, and sets nothing, when the text
/// is null or not UTF-8.
WL_EXTERN_C bool WLAssetDetailsSetCaption(WLAssetDetails *details, const char *caption);

// Keywords, as arrays of WLString objects of at most 64 bytes each; an asset has at most 64. A null array is
// ignored.

/// In place of those that there are.
WL_EXTERN_C void WLAssetDetailsSetKeywords(WLAssetDetails *details, WLArray *keywords);

WL_EXTERN_C void WLAssetDetailsAddKeywords(WLAssetDetails *details, WLArray *keywords);
WL_EXTERN_C void WLAssetDetailsRemoveKeywords(WLAssetDetails *details, WLArray *keywords);

/// Sets the details of 1 to 10,000 assets: an array of WLAsset objects, of which other objects are ignored.
/// The objects stay as they were; ask again for what is known now. False on failure, and then nothing has
/// changed: WLErrorRefused when this program has no right to change assets, WLErrorInvalid for what makes no
/// sense, and others. `error` may be null; what is stored there is borrowed: it is what WLLastError() gives,
/// and null when the details are set. Blocks.
WL_EXTERN_C bool WLAssetDetailsApply(WLAssetDetails *details, WLArray *assets, WLError **error);

#endif

// Deleting and restoring assets.
//
// An asset that is in the trash is no longer among the assets: it is named by its persistent URL, which
// WLAssetURL() gives while it is there. All functions need the right to delete (WLErrorRefused). The `error`
// of those that wait for the daemon may be null; what is stored there is borrowed: it is what WLLastError()
// gives, and null when the daemon has done it. Their failures are WLErrorInvalid for null, WLErrorNotFound
// when the asset is not where it should be, and others.
//
// The functions with a handler return at once; the handler is called on the global queue. A null handler does
// nothing.
#ifndef WICKERLANE_API_WLTRASH_H
#define WICKERLANE_API_WLTRASH_H

#include "wickerlane/api/WLAsset.h"

#if WL_HAS_CLASSES
#include "wickerlane/api/QueryObjects.h"
using WLTrashPage = wickerlane::TrashPageObject;
#else
typedef struct WLTrashPage WLTrashPage;
#endif

/// Moves an asset to the trash, from where it can be restored for 30 days. False on failure. Blocks.
WL_EXTERN_C bool WLAssetDelete(const WLAsset *asset, WLError **error);
WL_EXTERN_C void WLAssetDeleteWithHandler(const WLAsset *asset, WLDoneHandler handler, void *context,
                                          WLReleaseContext release);

/// Takes an asset out of the trash, with its albums and edits. False on failure. Blocks.
WL_EXTERN_C bool WLTrashRestore(WLURL *assetURL, WLError **error);
WL_EXTERN_C void WLTrashRestoreWithHandler(WLURL *assetURL, WLDoneHandler handler, void *context,
                                           WLReleaseContext release);

/// Deletes an asset of the library or its trash for good. False on failure. Blocks.
WL_EXTERN_C bool WLTrashRemove(WLURL *assetURL, WLError **error);
WL_EXTERN_C void WLTrashRemoveWithHandler(WLURL *assetURL, WLDoneHandler handler, void *context,
                                          WLReleaseContext release);

/// Deletes all that is in the trash for good. False on failure. Blocks.
WL_EXTERN_C bool WLTrashEmpty(WLError **error);
WL_EXTERN_C void WLTrashEmptyWithHandler(WLDoneHandler handler, void *context, WLReleaseContext release);

// What is in the trash, the latest first, in pages, which are immutable.

/// Asks for the first page, of at most `limit` assets, 1 to 10,000. Null on failure, and only then. Blocks.
WL_EXTERN_C WLTrashPage *WLTrashPageCreate(size_t limit, WLError **error);

/// Asks for the page that follows. Null without an error after the last page, and for null, without asking;
/// null with an error on failure. Blocks.
WL_EXTERN_C WLTrashPage *WLTrashPageCreateNext(const WLTrashPage *page, WLError **error);

/// How many assets the page has; 0 for null.
WL_EXTERN_C size_t WLTrashPageCount(const WLTrashPage *page);

/// The asset at an index, which counts from 0; it lives as long as the page. Null when there is none.
WL_EXTERN_C WLAsset *WLTrashPageGet(const WLTrashPage *page, size_t index);

/// When it was moved to the trash, in seconds since 2001-01-01 00:00:00 UTC; 0 when there is none.
WL_EXTERN_C double WLTrashPageDate(const WLTrashPage *page, size_t index);

#endif

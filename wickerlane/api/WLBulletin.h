// Bulletins: what has happened in shared albums, or to originals, for a board to show; and the application's
// badge.
//
// The `error` of the functions may be null; what is stored there is borrowed: it is what WLLastError() gives,
// and null when the daemon has answered.
#ifndef WICKERLANE_API_WLBULLETIN_H
#define WICKERLANE_API_WLBULLETIN_H

#include "wickerlane/api/WLTypes.h"

// The main keys of a bulletin. What makes no sense for one is missing.

#define WLBulletinType "bulletinType" ///< Number: 0 what was added to an album, 1 a damaged original.
#define WLBulletinRecordID "recordID" ///< Number: identifies it; later ones have higher numbers.
#define WLBulletinTitle "title"       ///< String, in the user's language.
#define WLBulletinMessage "message"   ///< String, in the user's language.
#define WLBulletinDate "date"         ///< Date.
#define WLBulletinExpirationDate "expirationDate" ///< Date.
#define WLBulletinAlbumUUID "albumUUID"           ///< String.
#define WLBulletinAssetUUID "assetUUID"           ///< String: the newest asset.
#define WLBulletinAssetCount "assetCount"         ///< Number.
#define WLBulletinDefaultURL "defaultURL"         ///< String: what to open.
#define WLBulletinHasThumbnail "hasThumbnail"     ///< Number, boolean.

/// The current bulletins: an array of dictionaries. Null on failure, and only then. Blocks.
WL_EXTERN_C WLArray *WLBulletinsCreate(WLError **error);

/// The thumbnail of a bulletin, a file of a picture. Null on failure, and when it has none. Blocks.
WL_EXTERN_C WLData *WLBulletinCreateThumbnail(uint64_t recordID, WLError **error);

/// Clears the bulletins up to and including a record. Sends that, and returns at once.
WL_EXTERN_C void WLBulletinsClear(uint64_t lastRecordID);

/// The number on the application's badge; 0 on failure. Blocks.
WL_EXTERN_C int64_t WLBadgeCount(WLError **error);

#endif

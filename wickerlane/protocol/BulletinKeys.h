// Keys of bulletin dictionaries, and names around the bulletin board. Their spellings, odd ones included, are
// part of the interface. hoardd sets them all except those whose comments say otherwise: without a server
// there are no comments, and pictures are asked for one by one.
#ifndef WICKERLANE_PROTOCOL_BULLETINKEYS_H
#define WICKERLANE_PROTOCOL_BULLETINKEYS_H

#include "wickerlane/platform/object/String.h"

/// "bulletinType". Number: the kind of event; 0 for photos and videos that were added to an album, 1 for
/// photos and videos whose originals were found to be damaged or missing, or not what was saved.
WL_EXPORT extern wickerlane::String *const kBulletinkeyBulletinType;
/// "recordID". Number: identifies the bulletin; later ones have higher numbers.
WL_EXPORT extern wickerlane::String *const kBulletinKeyRecordID;
/// "originalRecordID". Number: the record of the first event in this bulletin.
WL_EXPORT extern wickerlane::String *const kBulletinKeyOriginalRecordID;
/// "originalDate". Date: when that event happened.
WL_EXPORT extern wickerlane::String *const kBulletinKeyOriginalDate;
/// "albumUUID". String; missing when the bulletin is not about an album.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAlbumUUID;
/// "assetUUID". String: the newest asset; missing when that one has gone.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAssetUUID;
/// "assetIsMine". Number, boolean.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAssetIsMine;
/// "assetIsVideo". Number, boolean; missing with the asset.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAssetIsVideo;
/// "assetCount". Number.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAssetCount;
/// "allMultipleAssetIsMine". Number, boolean.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAllMultipleAssetIsMine;
/// "multipleAssetsOfMixedType". Number, boolean: photos and videos.
WL_EXPORT extern wickerlane::String *const kBulletinKeyMultipleAssetsOfMixedType;
/// "forMultipleAsset". Number, boolean.
WL_EXPORT extern wickerlane::String *const kBulletinKeyForMultipleAsset;
/// "title". String, in the user's language.
WL_EXPORT extern wickerlane::String *const kBulletinKeyTitle;
/// "message". String, in the user's language.
WL_EXPORT extern wickerlane::String *const kBulletinKeyMessage;
/// "date". Date.
WL_EXPORT extern wickerlane::String *const kBulletinKeyDate;
/// "defaultURL". String: what to open; missing when that has gone.
WL_EXPORT extern wickerlane::String *const kBulletinKeyDefaultURL;
/// "expirationDate". Date.
WL_EXPORT extern wickerlane::String *const kBulletinKeyExpirationDate;
/// "suppresionContexts". Array of strings: while one of them is on screen, no alert; missing when
/// there are none. Spelled with one "s".
WL_EXPORT extern wickerlane::String *const kBulletinKeySuppresionContexts;
/// "suppressAlert". Number, boolean. Never set by hoardd.
WL_EXPORT extern wickerlane::String *const kBulletinKeySuppressAlert;
/// "senderNames". Array of strings; missing when nobody has sent anything.
WL_EXPORT extern wickerlane::String *const kBulletinKeySenderNames;
/// "hasThumbnail". Number, boolean.
WL_EXPORT extern wickerlane::String *const kBulletinKeyHasThumbnail;
/// "thumbnailData". Data. Never set by hoardd.
WL_EXPORT extern wickerlane::String *const kBulletinKeyThumbnailData;
/// "commentDate". Date. Never set by hoardd.
WL_EXPORT extern wickerlane::String *const kBulletinKeyCommentDate;
/// "commentCloudGuid". String. Never set by hoardd.
WL_EXPORT extern wickerlane::String *const kBulletinKeyCommentCloudGuid;
/// "commentCount". Number. Never set by hoardd.
WL_EXPORT extern wickerlane::String *const kBulletinKeyCommentCount;
/// "commentIsCaption". Number, boolean. Never set by hoardd.
WL_EXPORT extern wickerlane::String *const kBulletinKeyCommentIsCaption;
/// "commentPlusPhotosAdded". Number, boolean. Its text differs from its name. Never set by hoardd.
WL_EXPORT extern wickerlane::String *const kBulletinCommentPiggyBackedOnPhotosAdded;
/// "JXPinwallBulletinsChangedNotification". Posted when the bulletins have changed.
WL_EXPORT extern wickerlane::String *const JXPinwallBulletinsChangedNotification;
/// "JXBadgeCountChangedNotification". Posted when the application's badge has changed.
WL_EXPORT extern wickerlane::String *const JXBadgeCountChangedNotification;
/// "JXLibraryViewBulletinSuppresionContext". The view of the whole library. Spelled "Suppresion".
WL_EXPORT extern wickerlane::String *const JXLibraryViewBulletinSuppresionContext;
/// "JXLastDisplayedBulletinRecordIDKey". Preference: the last record that a bulletin board has shown; its
/// own, which hoardd does not read.
WL_EXPORT extern wickerlane::String *const JXLastDisplayedBulletinRecordIDKey;
/// "AlbumView". Any view of one album.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextAlbumView;
/// "AlbumListView". The list of albums.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextAlbumListView;
/// "ActivityView". The list of recent events.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextActivityView;
/// "AlbumView-". Followed by an album's identifier.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextPrefixAlbumView;
/// "SharedAlbumOptionsView-". Followed by an album's identifier.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextPrefixSharedAlbumOptionsView;

#endif

// Keys of bulletin dictionaries, and names around the bulletin board. The spellings, odd ones too, are part
// of the interface.
#ifndef WICKERLANE_PROTOCOL_BULLETINKEYS_H
#define WICKERLANE_PROTOCOL_BULLETINKEYS_H

#include "wickerlane/platform/object/String.h"

/// "bulletinType". Number: what it tells of; 0 is photos and videos added.
WL_EXPORT extern wickerlane::String *const kBulletinkeyBulletinType;
/// "recordID". Number: identity; ascends with time.
WL_EXPORT extern wickerlane::String *const kBulletinKeyRecordID;
/// "originalRecordID". Number: of the first of the events that this one gathers.
WL_EXPORT extern wickerlane::String *const kBulletinKeyOriginalRecordID;
/// "originalDate". Date: of that first event.
WL_EXPORT extern wickerlane::String *const kBulletinKeyOriginalDate;
/// "albumUUID". String.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAlbumUUID;
/// "assetUUID". String: the newest asset.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAssetUUID;
/// "assetIsMine". Number, boolean.
WL_EXPORT extern wickerlane::String *const kBulletinKeyAssetIsMine;
/// "assetIsVideo". Number, boolean.
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
/// "defaultURL". String: what to open.
WL_EXPORT extern wickerlane::String *const kBulletinKeyDefaultURL;
/// "expirationDate". Date.
WL_EXPORT extern wickerlane::String *const kBulletinKeyExpirationDate;
/// "suppresionContexts". Array of strings: while one of them is on screen, no alert. Spelled with one "s".
WL_EXPORT extern wickerlane::String *const kBulletinKeySuppresionContexts;
/// "suppressAlert". Number, boolean.
WL_EXPORT extern wickerlane::String *const kBulletinKeySuppressAlert;
/// "senderNames". Array of strings.
WL_EXPORT extern wickerlane::String *const kBulletinKeySenderNames;
/// "hasThumbnail". Number, boolean.
WL_EXPORT extern wickerlane::String *const kBulletinKeyHasThumbnail;
/// "thumbnailData". Data.
WL_EXPORT extern wickerlane::String *const kBulletinKeyThumbnailData;
/// "commentDate". Date.
WL_EXPORT extern wickerlane::String *const kBulletinKeyCommentDate;
/// "commentCloudGuid". String.
WL_EXPORT extern wickerlane::String *const kBulletinKeyCommentCloudGuid;
/// "commentCount". Number.
WL_EXPORT extern wickerlane::String *const kBulletinKeyCommentCount;
/// "commentIsCaption". Number, boolean.
WL_EXPORT extern wickerlane::String *const kBulletinKeyCommentIsCaption;
/// "commentPlusPhotosAdded". Number, boolean. The value is not what the name says.
WL_EXPORT extern wickerlane::String *const kBulletinCommentPiggyBackedOnPhotosAdded;
/// "JXPinwallBulletinsChangedNotification". Posted when the bulletins have changed.
WL_EXPORT extern wickerlane::String *const JXPinwallBulletinsChangedNotification;
/// "JXBadgeCountChangedNotification". Posted when the application's badge has changed.
WL_EXPORT extern wickerlane::String *const JXBadgeCountChangedNotification;
/// "JXLibraryViewBulletinSuppresionContext". The view of the whole library. "Suppresion" as it stands.
WL_EXPORT extern wickerlane::String *const JXLibraryViewBulletinSuppresionContext;
/// "JXLastDisplayedBulletinRecordIDKey". Preference: the last record that a board has shown.
WL_EXPORT extern wickerlane::String *const JXLastDisplayedBulletinRecordIDKey;
/// "AlbumView". Any view of one album.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextAlbumView;
/// "AlbumListView". The list of albums.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextAlbumListView;
/// "ActivityView". The list of what has happened.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextActivityView;
/// "AlbumView-". To be followed by an album's identifier.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextPrefixAlbumView;
/// "SharedAlbumOptionsView-". To be followed by an album's identifier.
WL_EXPORT extern wickerlane::String *const JXSuppresionContextPrefixSharedAlbumOptionsView;

#endif

#include "wickerlane/protocol/BulletinKeys.h"

using namespace wickerlane;

// Each constant is a string object of its own that is never destroyed.
#define WL_TEXT_CONSTANT(name, value)                       \
    namespace {                                             \
    WL_IMMORTAL Immortal<ConstantString> name##Text{value}; \
    }                                                       \
    constinit String *const name = name##Text.get()

WL_TEXT_CONSTANT(kBulletinkeyBulletinType, "bulletinType");
WL_TEXT_CONSTANT(kBulletinKeyRecordID, "recordID");
WL_TEXT_CONSTANT(kBulletinKeyOriginalRecordID, "originalRecordID");
WL_TEXT_CONSTANT(kBulletinKeyOriginalDate, "originalDate");
WL_TEXT_CONSTANT(kBulletinKeyAlbumUUID, "albumUUID");
WL_TEXT_CONSTANT(kBulletinKeyAssetUUID, "assetUUID");
WL_TEXT_CONSTANT(kBulletinKeyAssetIsMine, "assetIsMine");
WL_TEXT_CONSTANT(kBulletinKeyAssetIsVideo, "assetIsVideo");
WL_TEXT_CONSTANT(kBulletinKeyAssetCount, "assetCount");
WL_TEXT_CONSTANT(kBulletinKeyAllMultipleAssetIsMine, "allMultipleAssetIsMine");
WL_TEXT_CONSTANT(kBulletinKeyMultipleAssetsOfMixedType, "multipleAssetsOfMixedType");
WL_TEXT_CONSTANT(kBulletinKeyForMultipleAsset, "forMultipleAsset");
WL_TEXT_CONSTANT(kBulletinKeyTitle, "title");
WL_TEXT_CONSTANT(kBulletinKeyMessage, "message");
WL_TEXT_CONSTANT(kBulletinKeyDate, "date");
WL_TEXT_CONSTANT(kBulletinKeyDefaultURL, "defaultURL");
WL_TEXT_CONSTANT(kBulletinKeyExpirationDate, "expirationDate");
WL_TEXT_CONSTANT(kBulletinKeySuppresionContexts, "suppresionContexts");
WL_TEXT_CONSTANT(kBulletinKeySuppressAlert, "suppressAlert");
WL_TEXT_CONSTANT(kBulletinKeySenderNames, "senderNames");
WL_TEXT_CONSTANT(kBulletinKeyHasThumbnail, "hasThumbnail");
WL_TEXT_CONSTANT(kBulletinKeyThumbnailData, "thumbnailData");
WL_TEXT_CONSTANT(kBulletinKeyCommentDate, "commentDate");
WL_TEXT_CONSTANT(kBulletinKeyCommentCloudGuid, "commentCloudGuid");
WL_TEXT_CONSTANT(kBulletinKeyCommentCount, "commentCount");
WL_TEXT_CONSTANT(kBulletinKeyCommentIsCaption, "commentIsCaption");
WL_TEXT_CONSTANT(kBulletinCommentPiggyBackedOnPhotosAdded, "commentPlusPhotosAdded");
WL_TEXT_CONSTANT(JXPinwallBulletinsChangedNotification, "JXPinwallBulletinsChangedNotification");
WL_TEXT_CONSTANT(JXBadgeCountChangedNotification, "JXBadgeCountChangedNotification");
WL_TEXT_CONSTANT(JXLibraryViewBulletinSuppresionContext, "JXLibraryViewBulletinSuppresionContext");
WL_TEXT_CONSTANT(JXLastDisplayedBulletinRecordIDKey, "JXLastDisplayedBulletinRecordIDKey");
WL_TEXT_CONSTANT(JXSuppresionContextAlbumView, "AlbumView");
WL_TEXT_CONSTANT(JXSuppresionContextAlbumListView, "AlbumListView");
WL_TEXT_CONSTANT(JXSuppresionContextActivityView, "ActivityView");
WL_TEXT_CONSTANT(JXSuppresionContextPrefixAlbumView, "AlbumView-");
WL_TEXT_CONSTANT(JXSuppresionContextPrefixSharedAlbumOptionsView, "SharedAlbumOptionsView-");

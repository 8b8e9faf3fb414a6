// The rows of operations on albums, and of edits to assets.
#ifndef WICKERLANE_PROTOCOL_ALBUMROWS_H
#define WICKERLANE_PROTOCOL_ALBUMROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::protocol {

inline constexpr Row addGroup{11, "addGroupWithName:handler:", request(whenSet(keys::name)),
                              reply(keys::nameTaken, keys::groupURL)};

inline constexpr Row addAssetToAlbum{
    12, "addAssetWithURL:toAlbumWithUUID:handler:", request(keys::assetURL, keys::albumUUID),
    reply(keys::success, keys::problemKind, keys::problemText)};

inline constexpr Row deleteAsset{
    13, "deleteAssetWithURL:handler:", request(keys::assetURL),
    reply(keys::success, keys::hasEntitlement, keys::problemKind, keys::problemText)};

/// Deletes what the library or its trash has for good. Codes from 1000 on are additions to the original
/// operations.
inline constexpr Row removeAsset{
    1001, "removeAssetWithURL:handler:", request(keys::assetURL),
    reply(keys::success, keys::hasEntitlement, keys::problemKind, keys::problemText)};

inline constexpr Row restoreTrashedAsset{
    1002, "restoreTrashedAssetWithURL:handler:", request(keys::assetURL),
    reply(keys::success, keys::hasEntitlement, keys::problemKind, keys::problemText)};

inline constexpr Row emptyTrash{
    1003, "emptyTrashWithHandler:", request(),
    reply(keys::success, keys::hasEntitlement, keys::problemKind, keys::problemText)};

inline constexpr Row setExternalUsageIntent{
    14, "setExternalUsageIntent:forAssetWithURL:handler:", request(keys::externalUsageIntent, keys::assetURL),
    reply(keys::success, keys::problemKind, keys::problemText)};

inline constexpr Row recalculateCachedAlbumCounts{30, "recalculateCachedAlbumCounts", request(), reply()};

inline constexpr Row automaticallyDeleteEmptyAlbum{
    58, "automaticallyDeleteEmptyAlbum:", request(keys::albumOID), reply()};

// Three more additions, beside those of QueryRows.h.

inline constexpr Row renameAlbum{1035, "renameAlbumWithUUID:to:", request(keys::albumUUID, keys::name),
                                 reply()};

inline constexpr Row deleteAlbum{1036, "deleteAlbumWithUUID:", request(keys::albumUUID), reply()};

inline constexpr Row removeFromAlbum{
    1037, "removePhotos:fromAlbumWithUUID:", request(keys::photoUUIDs, keys::albumUUID), reply()};

} // namespace wickerlane::protocol

#endif

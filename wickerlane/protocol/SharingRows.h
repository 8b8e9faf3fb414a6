// The rows of sharing: streams, bulletins and the badge, storage budget, people.
#ifndef WICKERLANE_PROTOCOL_SHARINGROWS_H
#define WICKERLANE_PROTOCOL_SHARINGROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Operation.h"

namespace wickerlane::protocol {

inline constexpr Operation createSnapriverAlbum{
    34, "createSnapriverAlbumWithStreamID:", request(whenSet(keys::streamID)), reply()};

inline constexpr Operation enableSnaprivers{
    35, "enableSnapriversWithStreamID:", request(whenSet(keys::streamID)), reply()};

inline constexpr Operation getCurrentBulletins{37, "getCurrentBulletins", request(), reply(keys::bulletins)};

inline constexpr Operation getCurrentApplicationBadgeCount{38, "getCurrentApplicationBadgeCount", request(),
                                                           reply(keys::badgeCount)};

inline constexpr Operation getThumbnailImageDataForBulletin{
    39, "getThumbnailImageDataForBulletinWithRecordID:", request(keys::recordID),
    reply(keys::thumbnailImageData)};

inline constexpr Operation clearAllBulletins{
    40, "clearAllBulletinsWithLastClearedRecordID:", request(keys::lastClearedRecordID), reply()};

inline constexpr Operation updateSharedAlbumsCachedServerConfigurationLimits{
    45, "updateSharedAlbumsCachedServerConfigurationLimits", request(), reply()};

/// A small protocol of its own under one code: "smJobType" 1 with the bytes wanted purges, 0 only asks. The
/// shape with more keys stands first, so that it is tried first.
inline constexpr Operation attemptToPurgeSharedAssetsSpace{
    51, "attemptToPurgeSharedAssetsSpace:", request(keys::smJobType, keys::smBytesRequested),
    reply(keys::smBytesReturned)};

inline constexpr Operation purgeableSharedAssetsSpace{51, "purgeableSharedAssetsSpace",
                                                      request(keys::smJobType), reply(keys::smBytesReturned)};

/// One code, asked in either direction.
inline constexpr Operation keyForEmailAddress{57, "keyForEmailAddress:", request(keys::email),
                                              reply(keys::emailKey)};

inline constexpr Operation emailAddressForKey{57, "emailAddressForKey:", request(keys::emailKey),
                                              reply(keys::email)};

inline constexpr Operation personInfoDictionary{
    59, "personInfoDictionaryForPersonID:", request(keys::personID), reply(keys::personInfoDictionary)};

/// Without a dictionary it clears the information.
inline constexpr Operation setPersonInfoDictionary{
    60, "setPersonInfoDictionary:forPersonID:", request(keys::personID, whenSet(keys::personInfoDictionary)),
    reply()};

} // namespace wickerlane::protocol

#endif

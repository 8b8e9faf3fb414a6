// The rows of sharing: streams, bulletins and the badge, space, people.
#ifndef WICKERLANE_PROTOCOL_SHARINGROWS_H
#define WICKERLANE_PROTOCOL_SHARINGROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::protocol {

inline constexpr Row createSnapriverAlbum{
    34, "createSnapriverAlbumWithStreamID:", request(whenSet(keys::streamID)), reply()};

inline constexpr Row enableSnaprivers{35, "enableSnapriversWithStreamID:", request(whenSet(keys::streamID)),
                                      reply()};

inline constexpr Row getCurrentBulletins{37, "getCurrentBulletins", request(), reply(keys::bulletins)};

inline constexpr Row getCurrentApplicationBadgeCount{38, "getCurrentApplicationBadgeCount", request(),
                                                     reply(keys::badgeCount)};

inline constexpr Row getThumbnailImageDataForBulletin{
    39, "getThumbnailImageDataForBulletinWithRecordID:", request(keys::recordID),
    reply(keys::thumbnailImageData)};

inline constexpr Row clearAllBulletins{
    40, "clearAllBulletinsWithLastClearedRecordID:", request(keys::lastClearedRecordID), reply()};

inline constexpr Row updateSharedAlbumsCachedServerConfigurationLimits{
    45, "updateSharedAlbumsCachedServerConfigurationLimits", request(), reply()};

/// Two requests share one code: "smJobType" 1 with a number of bytes purges, 0 only asks. The daemon must try
/// this row first, since requests of it fit the other row as well.
inline constexpr Row attemptToPurgeSharedAssetsSpace{
    51, "attemptToPurgeSharedAssetsSpace:", request(keys::smJobType, keys::smBytesRequested),
    reply(keys::smBytesReturned)};

inline constexpr Row purgeableSharedAssetsSpace{51, "purgeableSharedAssetsSpace", request(keys::smJobType),
                                                reply(keys::smBytesReturned)};

/// The two directions share one code.
inline constexpr Row keyForEmailAddress{57, "keyForEmailAddress:", request(keys::email),
                                        reply(keys::emailKey)};

inline constexpr Row emailAddressForKey{57, "emailAddressForKey:", request(keys::emailKey),
                                        reply(keys::email)};

inline constexpr Row personInfoDictionary{59, "personInfoDictionaryForPersonID:", request(keys::personID),
                                          reply(keys::personInfoDictionary)};

/// Without a dictionary the information is cleared.
inline constexpr Row setPersonInfoDictionary{
    60, "setPersonInfoDictionary:forPersonID:", request(keys::personID, whenSet(keys::personInfoDictionary)),
    reply()};

} // namespace wickerlane::protocol

#endif

// The rows of operations that list and find what is in the library. All are additions to the original ones.
#ifndef WICKERLANE_PROTOCOL_QUERYROWS_H
#define WICKERLANE_PROTOCOL_QUERYROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::protocol {

// QueryCoding.h has the forms of the queries and of what they give.

inline constexpr Row assetsMatchingQuery{1030, "assetsMatchingQuery:", request(whenSet(keys::query)),
                                         reply(keys::assets, keys::cursor, keys::storeUUID)};

/// The query's filter and direction; all else of it is ignored.
inline constexpr Row sectionsOfAssets{1031, "sectionsOfAssetsMatchingQuery:byUnit:",
                                      request(keys::unit, whenSet(keys::query)), reply(keys::sections)};

inline constexpr Row allAlbums{1032, "albums", request(), reply(keys::albums, keys::storeUUID)};

inline constexpr Row momentsMatchingQuery{
    1033, "momentsMatchingQuery:", request(whenSet(keys::query)),
    reply(keys::moments, keys::cursor, keys::storeUUID, keys::isComplete)};

inline constexpr Row duplicatesMatchingQuery{1034, "duplicatesMatchingQuery:", request(whenSet(keys::query)),
                                             reply(keys::groups, keys::cursor, keys::isComplete)};

/// AssetChange.h says what a token is.
inline constexpr Row changesSinceToken{1038,
                                       "changesSinceToken:limit:", request(whenSet(keys::token), keys::limit),
                                       reply(keys::changes, keys::token, keys::isLast, keys::isTooOld)};

/// Answered as soon as there are any, or after the seconds, at most 600. The limit is 1 at least.
inline constexpr Row awaitChangesSinceToken{
    1039, "awaitChangesSinceToken:limit:seconds:", request(whenSet(keys::token), keys::limit, keys::seconds),
    reply(keys::changes, keys::token, keys::isLast, keys::isTooOld)};

inline constexpr Row trashMatchingQuery{1004, "trashMatchingQuery:", request(whenSet(keys::query)),
                                        reply(keys::assets, keys::cursor, keys::storeUUID)};

/// Of up to 10,000 assets those that they have.
inline constexpr Row companionsOfPhotos{1022, "companionsOfPhotos:", request(keys::photoUUIDs),
                                        reply(keys::companions)};

/// The query's filter; all else of it is ignored.
inline constexpr Row countOfAssets{1044, "countOfAssetsMatchingQuery:", request(whenSet(keys::query)),
                                   reply(keys::count)};

inline constexpr Row allMomentLists{1045, "momentLists", request(), reply(keys::lists, keys::storeUUID)};

inline constexpr Row cloudFeed{1046, "cloudFeed", request(), reply(keys::entries)};

} // namespace wickerlane::protocol

#endif

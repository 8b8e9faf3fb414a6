// Shared albums and their streams, and the people who share.
//
// The `error` of the functions that wait for the daemon may be null; what is stored there is borrowed: it is
// what WLLastError() gives, and null when the daemon has answered. A text that is null or not UTF-8 is
// WLErrorInvalid. A function without a result only sends its request, and returns at once; the daemon logs
// what it can't do.
#ifndef WICKERLANE_API_WLSHARING_H
#define WICKERLANE_API_WLSHARING_H

#include "wickerlane/api/WLTypes.h"

#if WL_HAS_CLASSES
#include "wickerlane/api/QueryObjects.h"
using WLFeed = wickerlane::FeedObject;
#else
typedef struct WLFeed WLFeed;
#endif

/// Makes the shared album of a stream. False on failure. Blocks.
WL_EXTERN_C bool WLStreamAddAlbum(const char *streamID, WLError **error);

/// Enables a stream: it gets its shared album unless it has one. A text that is null or not UTF-8 is ignored.
WL_EXTERN_C void WLStreamEnable(const char *streamID);

/// Updates the stored limits of shared albums.
WL_EXTERN_C void WLStreamsUpdateLimits(void);

/// Makes the feed of shared albums again. False on failure. Blocks.
WL_EXTERN_C bool WLFeedRebuild(WLError **error);

// The feed: what came into shared albums. It is immutable; any number of threads may use it, and texts that
// it gives live as long as it does. Functions that take an index, which counts from 0, give 0 or null when
// nothing is there.

/// Asks for it. Null on failure, and only then. Blocks.
WL_EXTERN_C WLFeed *WLFeedCreate(WLError **error);

/// How many entries there are, the newest first; 0 for null. One has what came into an album within a short
/// time.
WL_EXTERN_C size_t WLFeedCount(const WLFeed *feed);

/// The UUID of the album.
WL_EXTERN_C const char *WLFeedAlbumUUID(const WLFeed *feed, size_t index);

// When the first and the last of its assets was added, in seconds since 2001-01-01 00:00:00 UTC.

WL_EXTERN_C double WLFeedStartDate(const WLFeed *feed, size_t index);
WL_EXTERN_C double WLFeedEndDate(const WLFeed *feed, size_t index);

/// How many assets came.
WL_EXTERN_C size_t WLFeedAssetCount(const WLFeed *feed, size_t index);

/// The UUID of one of them.
WL_EXTERN_C const char *WLFeedAssetUUID(const WLFeed *feed, size_t index, size_t assetIndex);

/// How many bytes of shared assets could be freed; 0 on failure. Blocks.
WL_EXTERN_C int64_t WLSharedAssetsPurgeableBytes(WLError **error);

/// Frees up to `bytes` bytes of shared assets. Returns how many were freed; 0 on failure. Blocks.
WL_EXTERN_C int64_t WLSharedAssetsPurge(uint64_t bytes, WLError **error);

// People.

/// The number of an e-mail address, which it gets when it has none; -1 on failure. Blocks.
WL_EXTERN_C int WLEmailAddressKey(const char *address, WLError **error);

/// The e-mail address with a number; borrowed. Null without an error when there is none, with one on failure.
/// Blocks.
WL_EXTERN_C WLString *WLEmailAddressOfKey(int key, WLError **error);

/// What is known of a person. Null without an error when that is nothing, with one on failure. Blocks.
WL_EXTERN_C WLDictionary *WLPersonInfoCreate(const char *personID, WLError **error);

/// Replaces what is known of a person by strings, numbers, dates, bytes, arrays and dictionaries; null clears
/// it. An ID that is null or not UTF-8 is ignored.
WL_EXTERN_C void WLPersonInfoSet(const char *personID, WLDictionary *info);

#endif

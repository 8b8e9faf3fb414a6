// Shared albums and their streams, and the people who share.
//
// The `error` of the functions that wait for the daemon may be null; what is stored there is borrowed: it is
// what WLLastError() gives, and null when the daemon has answered. A text that is null or not UTF-8 is
// WLErrorInvalid. A function without a result sends what it has to say, and returns at once; what the daemon
// can't do is in its log.
#ifndef WICKERLANE_API_WLSHARING_H
#define WICKERLANE_API_WLSHARING_H

#include "wickerlane/api/WLTypes.h"

/// Makes the shared album of a stream. False on failure. Blocks.
WL_EXTERN_C bool WLStreamAddAlbum(const char *streamID, WLError **error);

/// Enables a stream: it gets its shared album unless it has one. A text that is null or not UTF-8 is ignored.
WL_EXTERN_C void WLStreamEnable(const char *streamID);

/// Updates the stored limits of shared albums.
WL_EXTERN_C void WLStreamsUpdateLimits(void);

/// Makes the feed of shared albums again. False on failure. Blocks.
WL_EXTERN_C bool WLFeedRebuild(WLError **error);

/// How many bytes of shared assets could be freed; 0 on failure. Blocks.
WL_EXTERN_C int64_t WLSharedAssetsPurgeableBytes(WLError **error);

/// Frees up to so many bytes of shared assets. How many were freed; 0 on failure. Blocks.
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

// Assets of the library, as pages of queries hold them (WLAssetQuery.h), and what is known of them.
//
// An asset is immutable: it stays as it was when the daemon was asked. Any number of threads may use it. What
// it gives lives as long as it does, where a comment does not say otherwise. None of these functions waits
// for the daemon.
//
// A fact that may be unknown is returned through a pointer: the function returns whether it is known, and
// stores 0 when it is not. The pointer may be null. Facts that the query did not ask for are unknown, empty,
// or 0.
//
// Dates are seconds since 2001-01-01 00:00:00 UTC; WLReferenceDate makes them seconds since 1970.
#ifndef WICKERLANE_API_WLASSET_H
#define WICKERLANE_API_WLASSET_H

#include "wickerlane/api/WLTypes.h"

#if WL_HAS_CLASSES
#include "wickerlane/model/ManagedAsset.h"
using WLAsset = wickerlane::ManagedAsset;
#else
typedef struct WLAsset WLAsset;
#endif

/// 2001-01-01 00:00:00 UTC in seconds since 1970-01-01 00:00:00 UTC: add it to a date to get a time_t.
#define WLReferenceDate 978307200.0

/// Kinds of assets.
enum {
    WLAssetKindPhoto = 0,
    WLAssetKindVideo = 1,
};

/// The object as an asset, without a new reference; null when it is another object, and for null.
WL_EXTERN_C WLAsset *WLAsAsset(WLObject *object);

// What an asset is called and where it is. These are always known. Null for null.

/// 36 characters, upper case.
WL_EXTERN_C const char *WLAssetUUID(const WLAsset *asset);

/// The persistent URL, by which the asset is named in other functions and programs.
WL_EXTERN_C WLURL *WLAssetURL(const WLAsset *asset);

/// The URI of its object ID.
WL_EXTERN_C WLURL *WLAssetObjectID(const WLAsset *asset);

/// The URL of the original's file. Whether this program may open the file is another matter.
WL_EXTERN_C WLURL *WLAssetFileURL(const WLAsset *asset);

/// The path of the original's file; borrowed.
WL_EXTERN_C WLString *WLAssetFilePath(const WLAsset *asset);

/// The name of the original's file in the library.
WL_EXTERN_C const char *WLAssetFilename(const WLAsset *asset);

// What the file is.

/// WLAssetKindPhoto or WLAssetKindVideo; the first for null.
WL_EXTERN_C int WLAssetKind(const WLAsset *asset);

/// What the file was called before it came into the library; null when that is unknown.
WL_EXTERN_C const char *WLAssetOriginalFilename(const WLAsset *asset);

/// The media type, told by content: "image/jpeg". Null when unknown.
WL_EXTERN_C const char *WLAssetFormat(const WLAsset *asset);

// Pixels, with the orientation applied; 0 when the file could not be decoded.

WL_EXTERN_C uint32_t WLAssetWidth(const WLAsset *asset);
WL_EXTERN_C uint32_t WLAssetHeight(const WLAsset *asset);

/// How the file's picture has to be turned to stand upright: 1 (not at all) to 8, as EXIF counts.
WL_EXTERN_C uint32_t WLAssetOrientation(const WLAsset *asset);

/// The size of the original in bytes.
WL_EXTERN_C uint64_t WLAssetByteSize(const WLAsset *asset);

/// The SHA-256 of the original's bytes: 32 bytes. Null for null.
WL_EXTERN_C const uint8_t *WLAssetSHA256(const WLAsset *asset);

/// Of a video, in seconds; 0 when unknown, and for photos.
WL_EXTERN_C double WLAssetDuration(const WLAsset *asset);

/// Why the file could not be decoded, for people; null when it could.
WL_EXTERN_C const char *WLAssetProblem(const WLAsset *asset);

/// Counts up each time that thumbnails are made; 0 while there are none.
WL_EXTERN_C int64_t WLAssetThumbnailIndex(const WLAsset *asset);

// When and where.

/// The date that people read, and by which WLAssetOrderDate orders: what the camera's clock showed, as if it
/// were UTC, or the date of creation where that is unknown.
WL_EXTERN_C double WLAssetDate(const WLAsset *asset);

/// The instant at which the photo or video was taken. Without a time zone (WLAssetGetZoneMinutes()), it is
/// what the clock showed.
WL_EXTERN_C double WLAssetDateCreated(const WLAsset *asset);

/// When it came into the library.
WL_EXTERN_C double WLAssetDateAdded(const WLAsset *asset);

/// What the camera's clock showed, as if it were UTC.
WL_EXTERN_C bool WLAssetGetClockDate(const WLAsset *asset, double *date);

/// The camera's clock minus UTC, in minutes.
WL_EXTERN_C bool WLAssetGetZoneMinutes(const WLAsset *asset, int64_t *minutes);

/// In degrees; north and east are positive. Both are known, or neither.
WL_EXTERN_C bool WLAssetGetLocation(const WLAsset *asset, double *latitude, double *longitude);

// What the file says of the camera.

/// Maker and model; null when unknown.
WL_EXTERN_C const char *WLAssetCamera(const WLAsset *asset);

/// The model of the lens; null when unknown.
WL_EXTERN_C const char *WLAssetLens(const WLAsset *asset);

/// For how long light came in.
WL_EXTERN_C bool WLAssetGetExposureSeconds(const WLAsset *asset, double *seconds);

/// The f-number.
WL_EXTERN_C bool WLAssetGetAperture(const WLAsset *asset, double *number);

WL_EXTERN_C bool WLAssetGetISOSpeed(const WLAsset *asset, int64_t *speed);

/// In millimetres, of the lens itself.
WL_EXTERN_C bool WLAssetGetFocalLength(const WLAsset *asset, double *millimetres);

// What people say of it, in the file or in the library.

WL_EXTERN_C bool WLAssetIsFavourite(const WLAsset *asset);
WL_EXTERN_C bool WLAssetIsHidden(const WLAsset *asset);

/// 1 to 5 stars; 0 without a rating.
WL_EXTERN_C int64_t WLAssetRating(const WLAsset *asset);

/// May have several lines; null without a caption.
WL_EXTERN_C const char *WLAssetCaption(const WLAsset *asset);

/// One keyword a line, each once, in the order in which they were given; null without any.
WL_EXTERN_C const char *WLAssetKeywords(const WLAsset *asset);

/// A number that an application has noted, and that only applications understand; 0 at first.
WL_EXTERN_C uint64_t WLAssetExternalUsageIntent(const WLAsset *asset);

#endif

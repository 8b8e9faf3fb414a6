// Saving assets, and deleting them.
//
//     WLError *error = NULL;
//     WLSaveJob *job = WLSaveJobCreateWithFile("/home/me/picture.jpg");
//     WLSaveJobSetUnlessPresent(job, true);
//     WLSavedAsset *saved = WLSaveJobRun(job, &error);
//     puts(WLStringText(saved != NULL ? WLSavedAssetUUID(saved) : WLErrorText(error)));
//     WLRelease(job);
//
// One thread at a time may use a job. The `error` of the functions that wait for the daemon may be null. What
// is stored there is borrowed; it is what WLLastError() gives, and null when the function has succeeded.
#ifndef WICKERLANE_API_WLSAVE_H
#define WICKERLANE_API_WLSAVE_H

#include "wickerlane/api/WLAsset.h"

#if WL_HAS_CLASSES
using WLSaveJob = wickerlane::MutableDictionary;
using WLSavedAsset = wickerlane::Dictionary;
#else
typedef struct WLSaveJob WLSaveJob;
typedef struct WLSavedAsset WLSavedAsset;
#endif

/// A job that saves a copy of a file, which this program must be allowed to read. A relative path is resolved
/// against the working directory, at once. Null when the path is null, empty, or not UTF-8.
WL_EXTERN_C WLSaveJob *WLSaveJobCreateWithFile(const char *path);

/// A job that saves bytes, which are those of a file of a photo or video. Null for null.
WL_EXTERN_C WLSaveJob *WLSaveJobCreateWithData(WLData *data);

// What can be said of it. A null job is ignored.

/// What the file is called, for WLAssetOriginalFilename(); without it, that is the name of the file, if there
/// is one. Returns false, and changes nothing, when the name is null or not UTF-8.
WL_EXTERN_C bool WLSaveJobSetOriginalFilename(WLSaveJob *job, const char *name);

/// When the photo or video was taken, whatever the file says: seconds since 2001-01-01 00:00:00 UTC
/// (WLReferenceDate).
WL_EXTERN_C void WLSaveJobSetDateCreated(WLSaveJob *job, double date);

/// Whether an asset with the same bytes, if there is one, is the result instead of a copy. Then the job may
/// be run again after any failure without danger. False at first.
WL_EXTERN_C void WLSaveJobSetUnlessPresent(WLSaveJob *job, bool unlessPresent);

/// Saves. The result is borrowed. Null on failure, with the reason: WLErrorEmpty when there are no bytes,
/// WLErrorQueueFull when too many jobs wait, WLErrorFailed and a text when the file can't be read or is
/// neither a photo nor a video, WLErrorInvalid for a null job, and others. Blocks until the asset is safe on
/// the disk.
WL_EXTERN_C WLSavedAsset *WLSaveJobRun(WLSaveJob *job, WLError **error);

// What came of it. WLAssetQuerySetIdentity() asks for all facts of the asset.

/// The UUID of the asset, which lives as long as the result. Null for null.
WL_EXTERN_C WLString *WLSavedAssetUUID(const WLSavedAsset *saved);

/// Its persistent URL, borrowed. Null for null.
WL_EXTERN_C WLURL *WLSavedAssetURL(const WLSavedAsset *saved);

/// Whether the library had it already.
WL_EXTERN_C bool WLSavedAssetWasPresent(const WLSavedAsset *saved);

/// Why the file, which was saved all the same, could not be decoded; it lives as long as the result. Null
/// when it could.
WL_EXTERN_C WLString *WLSavedAssetProblem(const WLSavedAsset *saved);

/// Moves an asset to the trash, from where it can be had again for 30 days. False on failure: WLErrorRefused
/// when this program has no right to delete, WLErrorInvalid for a null asset, and others. Blocks.
WL_EXTERN_C bool WLAssetDelete(const WLAsset *asset, WLError **error);

#endif

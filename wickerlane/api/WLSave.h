// Saving assets.
//
//     WLError *error = NULL;
//     WLSaveJob *job = WLSaveJobCreateWithFile("/home/me/picture.jpg");
//     WLSaveJobSetUnlessPresent(job, true);
//     WLSavedAsset *saved = WLSaveJobRun(job, &error);
//     puts(WLStringText(saved != NULL ? WLSavedAssetUUID(saved) : WLErrorText(error)));
//     WLRelease(job);
//
// One thread at a time may use a job. The `error` of the functions that wait for the daemon may be null. What
// is stored there is borrowed; it is what WLLastError() gives, and null when the function has succeeded. The
// functions with a handler return at once. They use the job only during the call; the handler is called on
// the global queue, and a null one does nothing.
#ifndef WICKERLANE_API_WLSAVE_H
#define WICKERLANE_API_WLSAVE_H

#include "wickerlane/api/WLAsset.h"
#include "wickerlane/api/WLSurface.h"

#if WL_HAS_CLASSES
#include "wickerlane/api/SaveJob.h"
using WLSaveJob = wickerlane::SaveJob;
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

/// A job that saves a picture whose pixels are in a surface. Null for null.
WL_EXTERN_C WLSaveJob *WLSaveJobCreateWithSurface(WLSurface *surface);

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

/// What the content is (WLAsset.h), whatever the daemon finds in it.
WL_EXTERN_C void WLSaveJobSetKind(WLSaveJob *job, int kind);

/// A preview of the picture, which the daemon need not make then. Null for none.
WL_EXTERN_C void WLSaveJobSetPreview(WLSaveJob *job, WLSurface *preview);

// Files that belong to the asset, which this program must be allowed to read; relative paths are resolved
// against the working directory, at once. False, and nothing is changed, when the path is null, empty, or not
// UTF-8.

/// A file of metadata, which the library keeps with the asset.
WL_EXTERN_C bool WLSaveJobSetSidecar(WLSaveJob *job, const char *path);

/// A second file of the same shot: the raw file of a picture, or the short video that was taken with it. If
/// contents and times say that it is one, the library keeps it with the asset; else it is not saved, which is
/// no failure, and neither is a file that can't be read.
WL_EXTERN_C bool WLSaveJobSetCompanion(WLSaveJob *job, const char *path);

/// Saves. The result is borrowed. Null on failure, with the reason: WLErrorEmpty when there are no bytes,
/// WLErrorQueueFull when too many jobs wait, WLErrorNotFound when there is no such file, WLErrorInvalid when
/// it is neither a photo nor a video and for a null job, WLErrorNotWritable when permissions keep it from
/// being read, WLErrorNoSpace when the disk is full, and others; hoardd before 1.0 gives WLErrorFailed
/// whatever is wrong with the file. Blocks until the asset is safe on the disk.
WL_EXTERN_C WLSavedAsset *WLSaveJobRun(WLSaveJob *job, WLError **error);

/// The same, without waiting. The handler gets the result, or null and an error.
WL_EXTERN_C void WLSaveJobRunWithHandler(WLSaveJob *job,
                                         void (*handler)(void *context, WLSavedAsset *saved, WLError *error),
                                         void *context, WLReleaseContext release);

// Several at once: an array of WLSaveJob objects, without surfaces. The daemon saves up to 4096 of them.

/// Saves. What came of each job, for WLSaveResultsGet(), in the order of the jobs; borrowed. Null when the
/// daemon did not take the jobs: WLErrorInvalid when one of the objects is no such job, and others. A job
/// that fails does not keep the others from being saved. Blocks.
WL_EXTERN_C WLArray *WLSaveJobsRun(WLArray *jobs, WLError **error);

/// The same, without waiting. The handler gets the results, or null and an error.
WL_EXTERN_C void WLSaveJobsRunWithHandler(WLArray *jobs,
                                          void (*handler)(void *context, WLArray *results, WLError *error),
                                          void *context, WLReleaseContext release);

/// The same for jobs that name files: this program opens them and sends them along, so that a daemon of
/// another user, such as one of the whole device, need not have the right to read them.
WL_EXTERN_C void WLSaveOpenFilesWithHandler(WLArray *jobs,
                                            void (*handler)(void *context, WLArray *results, WLError *error),
                                            void *context, WLReleaseContext release);

/// What came of the job at an index, which counts from 0; it lives as long as the results. Null with an
/// error, which is borrowed, when that job was not saved, with the codes of WLSaveJobRun(), and
/// WLErrorInvalid when there is no job at the index. WLLastError() stays as it is.
WL_EXTERN_C WLSavedAsset *WLSaveResultsGet(const WLArray *results, size_t index, WLError **error);

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

/// Whether the second file was saved with the asset.
WL_EXTERN_C bool WLSavedAssetCompanionWasSaved(const WLSavedAsset *saved);

/// Whether the library had the second file already, with this asset.
WL_EXTERN_C bool WLSavedAssetCompanionWasPresent(const WLSavedAsset *saved);

#endif

// The library itself: making it, bringing files into it, and its care. More of that is in RZLibrary.h.
//
// A function that returns bool and takes an error waits for the daemon, and returns false on failure. `error`
// may be null; what is stored there is borrowed: it is what WLLastError() gives, and null when the daemon has
// done it. A function without a result only sends its request, and returns at once; the daemon logs what it
// can't do.
#ifndef WICKERLANE_API_WLLIBRARY_H
#define WICKERLANE_API_WLLIBRARY_H

#include "wickerlane/api/WLTypes.h"

/// Makes the library if there is none. All functions that need one do; this one does nothing else.
WL_EXTERN_C bool WLLibraryMake(WLError **error);

/// The version of the model of the library's database; -1 on failure. Blocks.
WL_EXTERN_C int64_t WLLibraryModelVersion(WLError **error);

/// Imports the files that lie in the library's folders without being assets.
WL_EXTERN_C bool WLLibraryImportFiles(WLError **error);

/// The same without waiting for it.
WL_EXTERN_C void WLLibraryImportFilesInBackground(void);

/// A file URL in the library, reserved for a new asset of a kind (WLAsset.h), that this program writes and
/// then saves; `extension` is that of the file, such as "JPG". Borrowed; null on failure. Blocks.
WL_EXTERN_C WLURL *WLLibraryReserveFile(int kind, const char *extension, WLError **error);

/// Lets the daemon write a file in the library: in one of its folders DCIM and PhotoData/Incoming, or in a
/// folder that is there below them. It replaces a file that is there, but never the original of an asset.
WL_EXTERN_C void WLLibraryWriteFile(WLData *data, WLURL *fileURL);

// Restores. RZLibrary.h has those from backup.

/// Updates the library after a restore over the air.
WL_EXTERN_C bool WLLibraryUpdateAfterOTARestore(WLError **error);

/// Ends a restore over the air, and makes albums again from the metadata of their assets if
/// `recreatesAlbums`.
WL_EXTERN_C void WLLibraryFinalizeOTARestore(bool recreatesAlbums);

/// Whether the work after a restore is done; false on failure, too. Blocks.
WL_EXTERN_C bool WLLibraryHasFinishedRestore(WLError **error);

/// Says where the files of a restored asset are: a text, or a list or mapping of texts. A null or invalid
/// UUID is ignored.
WL_EXTERN_C void WLLibrarySetRestoredPaths(const char *uuid, WLObject *paths);

// Repair.

/// Finishes or undoes what a crash has interrupted.
WL_EXTERN_C void WLLibraryRecoverFromCrash(void);

/// Makes objects again of which a library has exactly one.
WL_EXTERN_C bool WLLibraryRepairSingletons(WLError **error);

/// Forgets the recorded changes: WLChangesIsTooOld() is true for all tokens then.
WL_EXTERN_C void WLLibraryClearChanges(void);

/// Prepares the library of a demonstration device: deletes what has come since its date.
WL_EXTERN_C void WLLibraryCleanUpForDemo(void);

/// Tells the daemon that this program ends because of an exception. Either text may be null. Blocks until the
/// message has left this program.
WL_EXTERN_C void WLReportTermination(const char *name, const char *reason);

#endif

// The photo library's counts, sizes and maintenance.
#ifndef WICKERLANE_API_RZLIBRARY_H
#define WICKERLANE_API_RZLIBRARY_H

#include "wickerlane/api/WLTypes.h"
#include "wickerlane/protocol/CountNotification.h"

/// Counts the photos and videos of the library. The handler gets both counts, on the global queue; a count
/// that the daemon did not return is null. A null handler does nothing.
WL_EXTERN_C void RZGetPhotosAndVideosCount(void (*handler)(void *context, WLNumber *photoCount,
                                                           WLNumber *videoCount),
                                           void *context, WLReleaseContext release);

/// Calls the handler on `queue` soon after each change of the counts; changes in quick succession share a
/// call. The result is the token of the registration, borrowed: retain it, and pass it to
/// RZUnregisterForPhotosAndVideosCount(). Null, after a line on the console log, when the registration fails,
/// as with a null queue or handler.
WL_EXTERN_C WLNumber *RZRegisterForPhotosAndVideosCount(void (*handler)(void *context), void *context,
                                                        WLReleaseContext release, WLQueue *queue);

/// Ends a registration. No call of the handler begins afterwards, but one may still be running. Null is
/// ignored; an unknown token is logged to the console.
WL_EXTERN_C void RZUnregisterForPhotosAndVideosCount(WLNumber *token);

/// Whether the library has a photo; videos do not count. The handler gets the answer, on the global queue;
/// false when the daemon did not return a count. A null handler does nothing.
WL_EXTERN_C void RZHasAtLeastOnePhoto(void (*handler)(void *context, bool hasPhoto), void *context,
                                      WLReleaseContext release);

/// The estimated time of a migration of the store in seconds, from its number of assets; 30 when the store
/// can't be read. Reads the store without the daemon. Blocks, for up to 2 seconds when the store is busy.
WL_EXTERN_C int RZSecondsNeededToMigrateStore(void);

/// The estimated time of RZCleanupModelAfterHarborsyncRestore() in seconds; 1 on failure. Blocks.
WL_EXTERN_C int RZSecondsNeededToCleanupModelAfterHarborsyncRestore(void);

/// Cleans the library up after a restore from backup. Blocks until it is done.
WL_EXTERN_C void RZCleanupModelAfterHarborsyncRestore(void);

/// Checks the library and repairs what it can. Blocks until it is done.
WL_EXTERN_C void RZRepairPotentialModelCorruption(void);

/// Tells the daemon that a migration of the device's data is about to end. Blocks until it has answered.
WL_EXTERN_C void RZDataMigrationWillFinish(void);

/// The number of bytes of a kind whose size is unknown.
#define RZLibrarySizeUnknown UINT64_MAX

/// The sizes of the library's parts. `kinds` is a mask of the kinds 1, 2, 4, 8 and 16, which
/// docs/hoardd.md describes. The handler is called on `queue` once for each of them, with its size in bytes
/// or RZLibrarySizeUnknown. Without a daemon, it is called for the kinds 1, 2, 4 and 8 alone, with the
/// latter. A null queue or handler does nothing.
WL_EXTERN_C void RZGetLibrarySizes(WLQueue *queue, uint32_t kinds,
                                   void (*handler)(void *context, uint32_t kind, uint64_t bytes),
                                   void *context, WLReleaseContext release);

/// The size in bytes that an export of a video would have; -1 when the daemon can't tell or can't be reached.
/// All arguments but the URL may be null. Blocks.
WL_EXTERN_C int64_t RZEstimatedOutputFileLength(WLURL *videoURL, WLString *fallbackFilePath,
                                                WLString *exportPreset, WLDictionary *exportProperties);

#endif

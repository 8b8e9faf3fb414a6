// The photo library's counts, sizes and upkeep.
#ifndef WICKERLANE_API_RZLIBRARY_H
#define WICKERLANE_API_RZLIBRARY_H

#include "wickerlane/api/WLTypes.h"
#include "wickerlane/protocol/CountNotification.h"

#ifdef __cplusplus
#include "wickerlane/api/WLHandler.h"
#endif

/// Asks how many photos and videos the library holds. The handler gets both on the global queue; each is null
/// when the daemon does not say it. With a null handler nothing is asked.
WL_EXTERN_C void RZGetPhotosAndVideosCount(void (*handler)(void *context, WLNumber *photoCount,
                                                           WLNumber *videoCount),
                                           void *context, WLReleaseContext release);

/// Calls the handler on `queue` soon after each change of the counts, until it is unregistered; changes close
/// together share a call. The result, borrowed, holds the token of the registration: retain it, and hand it
/// to RZUnregisterForPhotosAndVideosCount(). Null, after a line on the console log, when that fails, as it
/// does with a null queue or handler.
WL_EXTERN_C WLNumber *RZRegisterForPhotosAndVideosCount(void (*handler)(void *context), void *context,
                                                        WLReleaseContext release, WLQueue *queue);

/// Ends a registration: no call begins afterwards, though one that has begun may still run. Null is ignored;
/// a token that is not registered gives a line on the console log.
WL_EXTERN_C void RZUnregisterForPhotosAndVideosCount(WLNumber *token);

/// Asks whether the library holds a photo; videos do not count. The handler gets the answer on the global
/// queue, false when the daemon does not say. With a null handler nothing is asked.
WL_EXTERN_C void RZHasAtLeastOnePhoto(void (*handler)(void *context, bool hasPhoto), void *context,
                                      WLReleaseContext release);

/// How many seconds a migration of the library's store would take, by its number of assets; 30 when it can't
/// be read. Does not ask the daemon. Blocks, for up to 2 seconds when the store is busy.
WL_EXTERN_C int RZSecondsNeededToMigrateStore(void);

/// How many seconds RZCleanupModelAfterHarborsyncRestore() would take; 1 when the daemon can't say. Blocks.
WL_EXTERN_C int RZSecondsNeededToCleanupModelAfterHarborsyncRestore(void);

/// Cleans the library up after a restore. Blocks until it is done.
WL_EXTERN_C void RZCleanupModelAfterHarborsyncRestore(void);

/// Checks the library and repairs what it can. Blocks until it is done.
WL_EXTERN_C void RZRepairPotentialModelCorruption(void);

/// Says that a migration of the device's data is about to end. Blocks until the daemon has heard it.
WL_EXTERN_C void RZDataMigrationWillFinish(void);

/// The size of a kind that the daemon did not report.
#define RZLibrarySizeUnknown UINT64_MAX

/// Asks how large the library is. `kinds` is a mask of the kinds of size 1, 2, 4 and 8, which docs/hoardd.md
/// tells; the handler is called on `queue` once for each of them, with its bytes, or with
/// RZLibrarySizeUnknown. With a null queue or handler nothing is asked.
WL_EXTERN_C void RZGetLibrarySizes(WLQueue *queue, uint32_t kinds,
                                   void (*handler)(void *context, uint32_t kind, uint64_t bytes),
                                   void *context, WLReleaseContext release);

/// Bytes that an export of a video would have; 0 when the daemon can't say, -1 when it can't be reached. All
/// but the URL may be null. Blocks.
WL_EXTERN_C int64_t RZEstimatedOutputFileLength(WLURL *videoURL, WLString *fallbackFilePath,
                                                WLString *exportPreset, WLDictionary *exportProperties);

#ifdef __cplusplus

inline void RZGetPhotosAndVideosCount(wickerlane::Handler<void(WLNumber *, WLNumber *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZGetPhotosAndVideosCount(c.function, c.context, c.release);
}

inline WLNumber *RZRegisterForPhotosAndVideosCount(wickerlane::Handler<void()> handler, WLQueue *queue) {
    const wickerlane::CHandler c(std::move(handler));
    return RZRegisterForPhotosAndVideosCount(c.function, c.context, c.release, queue);
}

inline void RZHasAtLeastOnePhoto(wickerlane::Handler<void(bool)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZHasAtLeastOnePhoto(c.function, c.context, c.release);
}

inline void RZGetLibrarySizes(WLQueue *queue, std::uint32_t kinds,
                              wickerlane::Handler<void(std::uint32_t, std::uint64_t)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZGetLibrarySizes(queue, kinds, c.function, c.context, c.release);
}

#endif

#endif

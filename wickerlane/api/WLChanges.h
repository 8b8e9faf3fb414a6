// What has changed in the library since a program last looked. RZRegisterForPhotosAndVideosCount() says when
// the counts alone have changed.
//
//     WLChanges *changes = WLChangesCreate(token, 1000, &error); // the token that was kept
//     for (size_t i = 0; i < WLChangesCount(changes); ++i)
//         puts(WLChangesUUID(changes, i));
//
// Changes are immutable, and any number of threads may use them. Texts that they give live as long as they
// do.
#ifndef WICKERLANE_API_WLCHANGES_H
#define WICKERLANE_API_WLCHANGES_H

#include "wickerlane/api/WLTypes.h"

#if WL_HAS_CLASSES
#include "wickerlane/api/QueryObjects.h"
using WLChanges = wickerlane::ChangesObject;
#else
typedef struct WLChanges WLChanges;
#endif

/// What has happened to an asset.
enum {
    WLChangeAdded = 0,
    WLChangeChanged = 1,
    WLChangeRemoved = 2,
};

/// What has happened to assets since a token was given out, the oldest first: at most `limit` changes, up to
/// 10,000. A null token stands for the oldest change that the library knows. To begin, ask for none: with a
/// limit of 0 comes the token of the present. Ask again with the token that came last until
/// WLChangesIsLast(). Null on failure, and only then; `error` may be null, and what is stored there is
/// borrowed: it is what WLLastError() gives, and null when the daemon has answered. Blocks.
WL_EXTERN_C WLChanges *WLChangesCreate(const char *token, size_t limit, WLError **error);

/// The same, but waits for changes if there are none yet: at most `seconds`, which are at most 600. When the
/// time is over, there are none, and a new token. The limit is at least 1. At most 16 such calls of a program
/// wait at a time: a further one ends the oldest, without changes and with its token; it is WLErrorBusy if
/// that has waited for less than a second, or if too many of other programs wait. Blocks. After
/// WLErrorEnding, ask again with the same token. A time limit (WLError.h) should allow more than `seconds`.
WL_EXTERN_C WLChanges *WLChangesCreateWhenAny(const char *token, size_t limit, int64_t seconds,
                                              WLError **error);

/// The same, without blocking. The handler gets the changes, borrowed, or null and an error. It is called on
/// the global queue; a null one does nothing.
WL_EXTERN_C void WLChangesAwait(const char *token, size_t limit, int64_t seconds,
                                void (*handler)(void *context, WLChanges *changes, WLError *error),
                                void *context, WLReleaseContext release);

/// How many changes there are; 0 for null.
WL_EXTERN_C size_t WLChangesCount(const WLChanges *changes);

/// To ask for what changes behind these. It may be kept in a file. Null for null.
WL_EXTERN_C const char *WLChangesToken(const WLChanges *changes);

/// Whether nothing more has changed yet. True for null.
WL_EXTERN_C bool WLChangesIsLast(const WLChanges *changes);

/// Whether the library no longer knows all that has changed since then: list the assets again, and go on with
/// the new token. There are no changes then. False for null.
WL_EXTERN_C bool WLChangesIsTooOld(const WLChanges *changes);

// The change at an index, which counts from 0; 0, or null, when there is none.

/// What has happened: WLChangeAdded and so on.
WL_EXTERN_C int WLChangesKind(const WLChanges *changes, size_t index);

/// The UUID of the asset.
WL_EXTERN_C const char *WLChangesUUID(const WLChanges *changes, size_t index);

/// When, in seconds since 2001-01-01 00:00:00 UTC.
WL_EXTERN_C double WLChangesDate(const WLChanges *changes, size_t index);

/// Ascends with each change; given again after an older store was put back. To go on, keep the token instead.
WL_EXTERN_C int64_t WLChangesNumber(const WLChanges *changes, size_t index);

#endif

// Albums of the library. WLAssetQuerySetAlbum() asks for the assets of one.
//
// An album is immutable: it stays as it was when the daemon was asked. Any number of threads may use it. What
// it gives lives as long as it does.
#ifndef WICKERLANE_API_WLALBUM_H
#define WICKERLANE_API_WLALBUM_H

#include "wickerlane/api/WLAsset.h"

#if WL_HAS_CLASSES
#include "wickerlane/model/ManagedAlbum.h"
using WLAlbum = wickerlane::ManagedAlbum;
#else
typedef struct WLAlbum WLAlbum;
#endif

/// All albums by name, as an array of WLAlbum objects. Null on failure, and only then. `error` may be null;
/// what is stored there is borrowed: it is what WLLastError() gives, and null when the daemon has answered.
/// Blocks.
WL_EXTERN_C WLArray *WLAlbumsCreate(WLError **error);

/// The object as an album, without a new reference; null when it is another object, and for null.
WL_EXTERN_C WLAlbum *WLAsAlbum(WLObject *object);

/// 36 characters, upper case. Null for null.
WL_EXTERN_C const char *WLAlbumUUID(const WLAlbum *album);

/// No two albums have the same, and none has an empty one. Null for null.
WL_EXTERN_C const char *WLAlbumName(const WLAlbum *album);

/// How many assets it had; 0 for null.
WL_EXTERN_C uint64_t WLAlbumAssetCount(const WLAlbum *album);

/// When it was made, in seconds since 2001-01-01 00:00:00 UTC (WLReferenceDate); 0 for null.
WL_EXTERN_C double WLAlbumDateCreated(const WLAlbum *album);

/// The ID of the stream that shares it; null when it is not shared.
WL_EXTERN_C const char *WLAlbumStreamID(const WLAlbum *album);

/// The persistent URL. Null for null.
WL_EXTERN_C WLURL *WLAlbumURL(const WLAlbum *album);

/// The URI of its object ID. Null for null.
WL_EXTERN_C WLURL *WLAlbumObjectID(const WLAlbum *album);

// Changes. Each names an album by its UUID. They return false, or null, on failure, and `error` is as above;
// a text that is null or not UTF-8 is WLErrorInvalid. Album objects stay as they were. All block.

/// Makes an album. Its UUID, borrowed; null on failure: WLErrorExists when there is one of that name.
WL_EXTERN_C WLString *WLAlbumAdd(const char *name, WLError **error);

/// The same, without waiting. The handler gets the UUID, borrowed, or null and an error; it is called on the
/// global queue, and a null one does nothing.
WL_EXTERN_C void WLAlbumAddWithHandler(const char *name,
                                       void (*handler)(void *context, WLString *uuid, WLError *error),
                                       void *context, WLReleaseContext release);

/// Gives an album another name, of 1 to 1024 bytes. WLErrorExists when another album has it.
WL_EXTERN_C bool WLAlbumRename(const char *uuid, const char *name, WLError **error);

/// Deletes an album; its assets stay in the library.
WL_EXTERN_C bool WLAlbumDelete(const char *uuid, WLError **error);

/// Adds an asset; one that it has already is no failure.
WL_EXTERN_C bool WLAlbumAddAsset(const char *uuid, const WLAsset *asset, WLError **error);

/// The same, without waiting. The handler is called on the global queue; a null one does nothing.
WL_EXTERN_C void WLAlbumAddAssetWithHandler(const char *uuid, const WLAsset *asset, WLDoneHandler handler,
                                            void *context, WLReleaseContext release);

/// Takes assets out: an array of 1 to 10,000 WLAsset objects; other objects, and assets that are not in it,
/// are ignored. The assets stay in the library.
WL_EXTERN_C bool WLAlbumRemoveAssets(const char *uuid, WLArray *assets, WLError **error);

// These two only send, and return at once.

/// Deletes an album if it is empty. Null is ignored.
WL_EXTERN_C void WLAlbumDeleteIfEmpty(const WLAlbum *album);

/// Lets the daemon count again how many assets each album has.
WL_EXTERN_C void WLAlbumsRecount(void);

#endif

// Companions: second files of the shots that assets are, such as the raw file of a picture or the short video
// that was taken with it. WLSaveJobSetCompanion() saves one.
//
// Companions are immutable, and any number of threads may use them. Texts that they give live as long as
// they do.
#ifndef WICKERLANE_API_WLCOMPANION_H
#define WICKERLANE_API_WLCOMPANION_H

#include "wickerlane/api/WLTypes.h"

#if WL_HAS_CLASSES
#include "wickerlane/api/QueryObjects.h"
using WLCompanions = wickerlane::CompanionsObject;
#else
typedef struct WLCompanions WLCompanions;
#endif

/// Asks for the companions of 1 to 10,000 assets: an array of WLAsset objects; others are ignored. They come
/// in any order; an asset without one is passed over. Null on failure, and only then; `error` may be null,
/// and what is stored there is borrowed: it is what WLLastError() gives, and null when the daemon has
/// answered. Blocks.
WL_EXTERN_C WLCompanions *WLCompanionsCreate(const WLArray *assets, WLError **error);

/// How many there are; 0 for null.
WL_EXTERN_C size_t WLCompanionsCount(const WLCompanions *companions);

// The companion at an index, which counts from 0; 0, or null, when there is none.

/// The UUID of the asset that it belongs to.
WL_EXTERN_C const char *WLCompanionsAssetUUID(const WLCompanions *companions, size_t index);

/// The path of its file in the library, which this program may have no right to open.
WL_EXTERN_C const char *WLCompanionsPath(const WLCompanions *companions, size_t index);

/// What the file was called before it was saved; null when unknown. May be any text: it is no safe path.
WL_EXTERN_C const char *WLCompanionsOriginalFilename(const WLCompanions *companions, size_t index);

/// The media type, told by content: "image/x-adobe-dng". Null when unknown.
WL_EXTERN_C const char *WLCompanionsFormat(const WLCompanions *companions, size_t index);

/// The size of the file in bytes.
WL_EXTERN_C uint64_t WLCompanionsByteSize(const WLCompanions *companions, size_t index);

#endif

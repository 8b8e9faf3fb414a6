// Persistent URLs, which name media by their library and not by a file: what a service that translates them
// into paths for its clients needs.
#ifndef WICKERLANE_API_WLNPERSISTENTURL_H
#define WICKERLANE_API_WLNPERSISTENTURL_H

#include "wickerlane/api/WLTypes.h"
#include "wickerlane/protocol/ServiceName.h"

/// The domain of the service's errors: "Wickerlane".
WL_EXTERN_C WLString *const WickerlaneErrorDomain;

/// Levels of access.
enum {
    WLNAccessNone = 0,
    WLNAccessGranted = 2,
};

/// The platform's identification of a client process, as its own listener made it of what the kernel says.
typedef struct WLAuditToken {
    uint32_t words[8];
} WLAuditToken;

/// Whether a URL is a persistent one: of the photo library ("rez-vault") or of the music library
/// ("jukelet-library"). The case of the scheme counts.
WL_EXTERN_C bool WLNIsPersistentURL(const WLURL *url);

/// The path of the current file, edits included, of the asset that a URL of the photo library names; the
/// caller owns the string. Null when there is none. Blocks.
WL_EXTERN_C WLString *WLNCreatePathForPersistentURL(WLURL *url);

/// What access the caller has: always WLNAccessGranted, since the daemon looks for itself.
WL_EXTERN_C int WLNGetCurrentAccess(void);

/// What access a client has to what a URL names: all with consent to use photos, which the library's owner
/// has unless it was denied; without it, to the music library only.
WL_EXTERN_C int WLNGetCurrentAccessForURLAndToken(const WLURL *url, WLAuditToken token);

#endif

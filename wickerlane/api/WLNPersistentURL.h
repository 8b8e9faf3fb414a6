// Persistent URLs, which identify an asset in its library rather than a file: for services that translate
// them into paths for their clients.
#ifndef WICKERLANE_API_WLNPERSISTENTURL_H
#define WICKERLANE_API_WLNPERSISTENTURL_H

#include "wickerlane/api/WLTypes.h"
#include "wickerlane/protocol/ServiceName.h"

/// The domain of the client's errors: "Wickerlane".
WL_EXTERN_C WLString *const WickerlaneErrorDomain;

/// Levels of access.
enum {
    WLNAccessNone = 0,
    WLNAccessGranted = 2,
};

/// Identifies a client process. The message service makes it from what the kernel says about the peer of a
/// connection.
typedef struct WLAuditToken {
    uint32_t words[8];
} WLAuditToken;

/// Whether the scheme of a URL is that of the photo library ("rez-vault") or of the music library
/// ("jukelet-library"). The case of letters counts. False for null.
WL_EXTERN_C bool WLNIsPersistentURL(const WLURL *url);

/// The path of an asset's current file: of the edited version, if there is one, else of the original. The
/// caller owns the string. Null for a URL without an asset, and when the daemon can't be reached. Blocks.
WL_EXTERN_C WLString *WLNCreatePathForPersistentURL(WLURL *url);

/// The access of the calling process: always WLNAccessGranted, since the daemon makes its own check.
WL_EXTERN_C int WLNGetCurrentAccess(void);

/// The access of a client process to a URL: WLNAccessGranted with consent to use photos, which the library's
/// owner has unless it was denied, and always to the music library; else WLNAccessNone.
WL_EXTERN_C int WLNGetCurrentAccessForURLAndToken(const WLURL *url, WLAuditToken token);

#endif

// The photo-editing application beside the library.
#ifndef WICKERLANE_UTIL_IDENTITY_JXPICTORAMA_H
#define WICKERLANE_UTIL_IDENTITY_JXPICTORAMA_H

#include <stdbool.h>

#include "wickerlane/platform/object/Export.h"

/// Bundle identifier of the photo-editing application: "org.wickerlane.Pictorama".
WL_EXTERN_C const char *const JXPictoramaBundleIdentifier;

/// File name of the application-services library, which knows the installed applications. It is installed
/// beside libwickerlane.so.
WL_EXTERN_C const char *const JXApplicationServicesLibraryPath;

/// Whether the photo-editing application is installed now; true when that can't be found out. The first call
/// loads the application-services library, which stays loaded. Thread-safe.
WL_EXTERN_C bool JXIsPictoramaInstalled(void);

#endif

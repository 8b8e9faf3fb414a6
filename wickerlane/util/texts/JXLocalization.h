// Texts for people, from the string tables of the two bundles that the photo library ships.
//
// A look-up searches several tables in a fixed order, until one has a text that differs from the key; if none
// has, the result is the key itself. All functions may be called from any thread.
#ifndef WICKERLANE_UTIL_TEXTS_JXLOCALIZATION_H
#define WICKERLANE_UTIL_TEXTS_JXLOCALIZATION_H

#include "wickerlane/platform/bundle/Bundle.h"

/// The bundle of the photo library's user interface, which holds the class JXPhotoTileViewController. Found
/// on the first call and kept; the program's own bundle when it is not installed. Never null.
WL_EXTERN_C wickerlane::Bundle *JXPixholdFrameworkBundle();

/// The bundle of the photo library's services, which holds the class JXPixhold. Found on the first call and
/// kept; the program's own bundle when it is not installed. Never null.
WL_EXTERN_C wickerlane::Bundle *JXPixholdServicesFrameworkBundle();

/// The text for a key of the user interface, in the language of this process: from the tables
/// "Pixhold-Device", "Pixhold", "Pixhold-Avalanche" and "Pixhold-GM". Borrowed; empty for a null key.
WL_EXTERN_C wickerlane::String *JXLocalizedFrameworkString(wickerlane::String *key);

/// The text for a key of the services, in the language of this process: from the tables "PixholdServices" and
/// "PixholdServices-GM". Borrowed; empty for a null key.
WL_EXTERN_C wickerlane::String *JXServicesLocalizedFrameworkString(wickerlane::String *key);

/// The same for a daemon, which has no language of its own: in the first language of the user's preferences,
/// else in that of the current locale, else in English; and in the language of this process when the bundle
/// has no such text. Follows changes of the preferences. Reads the table's file on every call. Borrowed;
/// empty for a null key.
WL_EXTERN_C wickerlane::String *JXServicesLocalizedFrameworkStringForHoardd(wickerlane::String *key);

#endif

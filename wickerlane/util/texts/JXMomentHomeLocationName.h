// The user's home among the places of moments.
#ifndef WICKERLANE_UTIL_TEXTS_JXMOMENTHOMELOCATIONNAME_H
#define WICKERLANE_UTIL_TEXTS_JXMOMENTHOMELOCATIONNAME_H

#include "wickerlane/platform/object/String.h"

/// The name under which the location of the user's home is stored for moments: "_$!<Home>!$_". It is a marker
/// and never shown.
WL_EXPORT extern wickerlane::String *const JXMomentHomeLocationName;

#endif

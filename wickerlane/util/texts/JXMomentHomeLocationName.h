// The user's home among the places of moments.
#ifndef WICKERLANE_UTIL_TEXTS_JXMOMENTHOMELOCATIONNAME_H
#define WICKERLANE_UTIL_TEXTS_JXMOMENTHOMELOCATIONNAME_H

#include "wickerlane/platform/object/String.h"

/// The name of the user's home in the locations of moments: "_$!<Home>!$_". It is a marker that is never
/// shown.
WL_EXPORT extern wickerlane::String *const JXMomentHomeLocationName;

#endif

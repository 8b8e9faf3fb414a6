// Properties of the main screen.
#ifndef WICKERLANE_UTIL_IDENTITY_JXSCREEN_H
#define WICKERLANE_UTIL_IDENTITY_JXSCREEN_H

#include <stdbool.h>

#include "wickerlane/platform/object/Export.h"

// Each answer is found once and holds for the life of the process. All functions are thread-safe.

/// How many pixels of the main screen make up a point. The device's settings come first, then the screen's
/// own scale; a scale of 1 becomes 2 on a screen of 640 x 960, 1536 x 2048 or 640 x 1136 pixels, upright or
/// turned. 0 without a screen.
WL_EXTERN_C double JXScreenScale(void);

/// Whether the main screen has exactly 640 x 1136 pixels, upright.
WL_EXTERN_C bool JXIsTallScreen(void);

#endif

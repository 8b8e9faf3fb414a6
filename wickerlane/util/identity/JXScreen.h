// What the main screen is like.
#ifndef WICKERLANE_UTIL_IDENTITY_JXSCREEN_H
#define WICKERLANE_UTIL_IDENTITY_JXSCREEN_H

#include <stdbool.h>

#include "wickerlane/platform/object/Export.h"

// Each answer is found once and holds for the life of the process. Thread-safe.

/// How many pixels of the main screen make up a point: what the device's settings say; else what the screen
/// says, but 2 for a screen that says 1 while it shows 640 x 960, 1536 x 2048 or 640 x 1136 pixels, upright
/// or turned. 0 without a screen.
WL_EXTERN_C double JXScreenScale(void);

/// Whether the main screen shows exactly 640 x 1136 pixels, upright.
WL_EXTERN_C bool JXIsTallScreen(void);

#endif

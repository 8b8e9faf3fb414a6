// Questions to the device, by name.
#ifndef WICKERLANE_PLATFORM_DEVICE_DEVICEANSWERS_H
#define WICKERLANE_PLATFORM_DEVICE_DEVICEANSWERS_H

#include "wickerlane/platform/object/String.h"

/// What the device's settings (the preferences domain wickerlane::deviceDomain) hold under a name, such as
/// "main-screen-scale": a finite number, or a text that spells one. `otherwise` when there is none, and for a
/// null question. Thread-safe.
WL_EXTERN_C float DVGetFloat32Answer(const wickerlane::String *question, float otherwise);

#endif

// Libraries that are loaded when they are needed.
#ifndef WICKERLANE_PLATFORM_PROCESS_LIBRARYLOADING_H
#define WICKERLANE_PLATFORM_PROCESS_LIBRARYLOADING_H

#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Loads a library, for the life of the process; its functions are bound when they are first called. A path
/// that does not begin with "/" is taken from the folder that holds libwickerlane.so, and nowhere else is
/// looked. False when it can't be loaded. Thread-safe.
WL_EXPORT bool loadLibrary(std::string_view path);

} // namespace wickerlane

#endif

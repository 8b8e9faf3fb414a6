// Names of processes.
#ifndef WICKERLANE_UTIL_IDENTITY_JXPROCESSIDENTITY_H
#define WICKERLANE_UTIL_IDENTITY_JXPROCESSIDENTITY_H

#include <stdbool.h>
#include <sys/types.h>

#include "wickerlane/platform/object/Export.h"

// The name of a process is what follows the last slash of its first argument, compared exactly. Each answer
// is found once and holds for the life of the process; it is false for a process without arguments.
// Thread-safe.

/// Whether this is the daemon that owns the photo library: "hoardd".
WL_EXTERN_C bool JXIsHoardd(void);
/// Whether this is the daemon of connected cameras: "camlinkd".
WL_EXTERN_C bool JXIsCamlinkd(void);
/// Whether this is the home screen: "Homeshell".
WL_EXTERN_C bool JXIsHomeshell(void);
/// Whether this is the camera application: "Camera".
WL_EXTERN_C bool JXIsCamera(void);

/// Preferences domain of the daemon: "org.wickerlane.hoardd".
WL_EXTERN_C const char *const JXHoarddPreferencesDomain;

/// Always false. The preference "IgnoreHomeshell" of the daemon's domain is read, once, and has no effect.
/// Thread-safe.
WL_EXTERN_C bool JXIgnoreHomeshell(void);

/// The id of the first process, in the kernel's order, with that command name. Only the first 16 characters
/// of `name` count. -1 when there is none, for null, and when the process table can't be read. Reads it on
/// every call. Thread-safe.
WL_EXTERN_C pid_t JXPIDForProcessNamed(const char *name);

#endif

// Gives up everything that decoding a picture does not need.
#ifndef HOARDD_MEDIA_WORKER_CONFINEMENT_H
#define HOARDD_MEDIA_WORKER_CONFINEMENT_H

#include "hoardd/media/Protocol.h"

namespace wickerlane::hoardd::media {

/// Confines the calling process until it ends: limits of memory and descriptors, no new privileges, a
/// Landlock rule set that allows no path, and a filter of system calls without any that opens, connects,
/// executes or signals. Call it with one thread, after everything that reads files has been loaded. Gives
/// what the kernel granted.
Hello confine();

/// Tries what confinement must forbid; fails when something got through.
[[nodiscard]] Result<> testOwnConfinement();

} // namespace wickerlane::hoardd::media

#endif

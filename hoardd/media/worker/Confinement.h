// Gives up everything that decoding a picture does not need.
#ifndef HOARDD_MEDIA_WORKER_CONFINEMENT_H
#define HOARDD_MEDIA_WORKER_CONFINEMENT_H

#include <cstdint>

#include "hoardd/media/Protocol.h"

namespace wickerlane::hoardd::media {

/// Bytes of address space that the calling process uses. Reads a file.
[[nodiscard]] std::uint64_t addressSpaceInUse();

/// No new privileges, and a Landlock rule set that allows no path, for the calling process and all that it
/// forks: it opens, makes and executes nothing any more. Gives the version of Landlock; 0 when the kernel has
/// none, or grants nothing.
std::uint32_t forbidFiles();

/// Confines the calling process until it ends: limits of memory and descriptors, what forbidFiles() does, and
/// a filter of system calls without any that opens, connects, executes or signals. Call it with one thread,
/// after everything that reads files has been loaded. `inUse` is the address space that is used before. Gives
/// what the kernel granted.
Hello confine(std::uint64_t inUse);

/// Tries what confinement must forbid; fails when something got through.
[[nodiscard]] Result<> testOwnConfinement();

} // namespace wickerlane::hoardd::media

#endif

// Reading all originals and companions again, now and then, to find out which are no longer what was saved.
#ifndef HOARDD_UPKEEP_SCRUB_H
#define HOARDD_UPKEEP_SCRUB_H

#include <chrono>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

/// What scrub() did, and when to call it next.
struct ScrubOutcome {
    std::size_t read = 0;               ///< How many files were read.
    bool isBehind = false;              ///< The time may not be kept unless the next call follows at once.
    bool isDue = false;                 ///< There is more to read.
    std::chrono::milliseconds pause{0}; ///< Until the next call, when nothing is due.
};

/// Reads originals and companions again, at such a pace that each is read once in `within`, whether a hoardd
/// ran in all of it or not: those that were not read for the longest time, as many as are due but at most
/// some 64 MiB. Those that were found to be faulty are read when something has happened to them, and 90 times
/// in `within`. What it finds, it notes in the store; once, it logs it and puts it on the bulletin board.
/// What is changed meanwhile is left for later. Both times are in seconds, `now` since 2001-01-01 00:00:00
/// UTC. Blocks, at a low priority.
[[nodiscard]] Result<ScrubOutcome> scrub(Library &library, double within, double now);

/// Reads all again that were found to be faulty. `now` is in seconds since 2001-01-01 00:00:00 UTC. Blocks.
[[nodiscard]] Result<> scrubFaulty(Library &library, double now);

} // namespace wickerlane::hoardd

#endif

// How much is written in one transaction.
#ifndef HOARDD_LIBRARY_COMMITS_H
#define HOARDD_LIBRARY_COMMITS_H

#include <cstddef>

namespace wickerlane::hoardd {

/// Assets whose files are written. Enough that commits cost little, few enough that a kill late in long work
/// leaves most of it stored.
inline constexpr std::size_t maxFilesPerCommit = 16;

/// Rows alone. Few enough that other threads don't wait long, enough that commits cost little.
inline constexpr std::size_t maxRowsPerCommit = 64;

/// Rows that take some microseconds each.
inline constexpr std::size_t maxQuickRowsPerCommit = 1'024;

} // namespace wickerlane::hoardd

#endif

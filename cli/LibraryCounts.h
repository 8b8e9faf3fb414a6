// How many photos and videos a library holds.
#ifndef CLI_LIBRARYCOUNTS_H
#define CLI_LIBRARYCOUNTS_H

#include <cstdint>
#include <string>

#include "cli/Output.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

struct LibraryCounts {
    std::uint64_t photos = 0;
    std::uint64_t videos = 0;
    bool operator==(const LibraryCounts &) const = default;
};

/// Asks the daemon.
Result<LibraryCounts> countLibrary();

/// "1 photo, 2 videos".
std::string textOf(const LibraryCounts &counts);
JSON describe(const LibraryCounts &counts);

} // namespace wickerlane::cli

#endif

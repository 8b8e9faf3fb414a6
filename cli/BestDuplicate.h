// Which asset of a group of duplicates is kept.
#ifndef CLI_BESTDUPLICATE_H
#define CLI_BESTDUPLICATE_H

#include "wickerlane/model/AssetRecord.h"

namespace wickerlane::cli {

/// Whether the first of two duplicates is kept rather than the other: the one with more pixels, else with the
/// larger file, else of which people have said more, else which was there first.
[[nodiscard]] bool isBetterDuplicate(const AssetRecord &one, const AssetRecord &other);

} // namespace wickerlane::cli

#endif

// How much room a library takes.
#ifndef HOARDD_UPKEEP_SIZES_H
#define HOARDD_UPKEEP_SIZES_H

#include <cstdint>
#include <map>

#include "hoardd/library/Library.h"
#include "wickerlane/protocol/SizeKind.h"

namespace wickerlane::hoardd {

using protocol::SizeKind;

/// Bytes of each kind, by its number. Looks only at the files of assets whose size the store does not know.
[[nodiscard]] Result<std::map<std::uint32_t, std::uint64_t>> librarySizes(Library &library);

} // namespace wickerlane::hoardd

#endif

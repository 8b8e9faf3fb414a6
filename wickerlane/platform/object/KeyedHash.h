// The hash of texts and bytes.
#ifndef WICKERLANE_PLATFORM_OBJECT_KEYEDHASH_H
#define WICKERLANE_PLATFORM_OBJECT_KEYEDHASH_H

#include <cstdint>
#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// SipHash-1-3 with a random key that each process makes for itself: the result differs from process to
/// process, so that input from outside can't be made to collide. Thread-safe.
[[nodiscard]] WL_EXPORT std::uint64_t keyedHash(std::string_view bytes) noexcept;

} // namespace wickerlane

#endif

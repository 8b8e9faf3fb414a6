// How large a picture may be.
#ifndef HOARDD_MEDIA_PICTURELIMITS_H
#define HOARDD_MEDIA_PICTURELIMITS_H

#include <cstdint>

namespace wickerlane::hoardd {

/// Chosen so that a large camera's picture passes and a bomb does not.
struct PictureLimits {
    std::uint64_t pixels = 300'000'000;       ///< Width times height.
    std::uint32_t side = 65'500;              ///< What a JPEG can hold, with room.
    std::uint64_t fileBytes = 512ULL << 20;   ///< A larger file is not looked into.
    std::uint64_t memoryBytes = 512ULL << 20; ///< What a worker may hold while it works.
};
inline constexpr PictureLimits pictureLimits{};

} // namespace wickerlane::hoardd

#endif

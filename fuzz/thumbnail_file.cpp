// A thumbnail that is sound as a whole is sound at its ends, and no longer when its end is cut off.
#include <cstdint>
#include <cstdlib>

#include "wickerlane/store/ThumbnailFile.h"

using namespace wickerlane::store;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    constexpr std::uint32_t maxSide = 256;
    const auto file = std::as_bytes(std::span(bytes, size));
    const bool isSound = checkThumbnail(file, maxSide, ThumbnailLook::whole).has_value();
    const bool hasSoundEnds = checkThumbnail(file, maxSide, ThumbnailLook::ends).has_value();
    if (isSound && (!hasSoundEnds || checkThumbnail(file.first(size - 1), maxSide, ThumbnailLook::whole)))
        std::abort();
    return 0;
}

// Whether a PNG file holds anything of its picture.
#ifndef HOARDD_MEDIA_WORKER_PNGLINES_H
#define HOARDD_MEDIA_WORKER_PNGLINES_H

#include <cstddef>
#include <span>

namespace wickerlane::hoardd::media {

/// Whether the first line of pixels is there; of an interlaced file, the first one of the first pass.
[[nodiscard]] bool holdsFirstLine(std::span<const std::byte> png);

} // namespace wickerlane::hoardd::media

#endif

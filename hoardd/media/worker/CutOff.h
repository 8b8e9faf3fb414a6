// Whether a file ends before its picture does, by the lengths that it gives itself.
#ifndef HOARDD_MEDIA_WORKER_CUTOFF_H
#define HOARDD_MEDIA_WORKER_CUTOFF_H

#include <cstddef>
#include <span>

#include "hoardd/media/Picture.h"

namespace wickerlane::hoardd::media {

/// Known of JPEG, PNG, WebP, GIF, TIFF, HEIF and AVIF files; of others, false.
[[nodiscard]] bool isCutOff(std::span<const std::byte> file, MediaFormat format);

} // namespace wickerlane::hoardd::media

#endif

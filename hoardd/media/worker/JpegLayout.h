// Where the parts of a JPEG file are.
#ifndef HOARDD_MEDIA_WORKER_JPEGLAYOUT_H
#define HOARDD_MEDIA_WORKER_JPEGLAYOUT_H

#include <cstddef>
#include <span>

namespace wickerlane::hoardd::media {

struct JpegLayout {
    bool isProgressive = false; ///< In several passes, so that a decoder must hold all coefficients at once.
    std::size_t pixels = 0;     ///< Where the coded pixels begin; 0 when there are none.
};

/// Steps over what does not belong between two markers, as decoders do.
[[nodiscard]] JpegLayout layoutOfJpeg(std::span<const std::byte> file);

} // namespace wickerlane::hoardd::media

#endif

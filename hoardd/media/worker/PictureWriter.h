// Writes images to files.
#ifndef HOARDD_MEDIA_WORKER_PICTUREWRITER_H
#define HOARDD_MEDIA_WORKER_PICTUREWRITER_H

#include "hoardd/media/worker/Image.h"

namespace wickerlane::hoardd::media {

/// Writes an image as JPEG, PNG or WebP; the size must fit. White shows through what a JPEG cannot hold of
/// alpha. With `keepsProfile` the colour profile is written too; no other metadata ever is. Throws
/// MediaError.
void writePicture(VipsImage *image, int output, MediaFormat format, std::uint32_t quality, bool keepsProfile);

/// Copies what was written to one output, which must be readable, to another. Throws MediaError.
void copyWritten(int written, int output);

/// The pixels of a mapped surface as an image; they must outlive it.
[[nodiscard]] Image imageOfSurface(const void *pixels, const SurfacePixels &surface);

} // namespace wickerlane::hoardd::media

#endif

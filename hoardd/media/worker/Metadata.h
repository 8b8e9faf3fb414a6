// Reads what a picture file says of itself: date, place, orientation, camera.
#ifndef HOARDD_MEDIA_WORKER_METADATA_H
#define HOARDD_MEDIA_WORKER_METADATA_H

#include <cstddef>
#include <span>

#include "hoardd/media/Picture.h"

namespace hoardd::media {

/// Loads what reading metadata needs; once, before confinement.
void prepareMetadata();

/// Fills all but the format and the sizes. Bytes without metadata, or with broken ones, give none.
void readMetadata(std::span<const std::byte> file, PictureFacts &facts);

} // namespace hoardd::media

#endif

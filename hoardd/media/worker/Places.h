// Places as files write them.
#ifndef HOARDD_MEDIA_WORKER_PLACES_H
#define HOARDD_MEDIA_WORKER_PLACES_H

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "hoardd/media/PictureFacts.h"

namespace wickerlane::hoardd::media {

/// The place in the EXIF block of a JPEG, or of a file with the layout of TIFF. Reads each field for itself,
/// so that fields beside it may be as odd as they like.
[[nodiscard]] std::optional<Place> placeInDirectory(std::span<const std::byte> file);

/// "+48.8577+002.2950/", "+4851.46+00217.70+035/" or "+485128-0021742/", by ISO 6709.
[[nodiscard]] std::optional<Place> placeOf(std::string_view text);

/// Whether it is 0°, 0°: what devices without a fix write. Nothing but sea is there.
[[nodiscard]] bool isNowhere(const Place &place);

} // namespace wickerlane::hoardd::media

#endif

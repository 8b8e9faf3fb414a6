// What a video says of itself, for clients.
#ifndef HOARDD_PICTURES_VIDEODESCRIPTION_H
#define HOARDD_PICTURES_VIDEODESCRIPTION_H

#include <cstdint>

#include "hoardd/media/Picture.h"
#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane::hoardd {

/// Under the keys of wickerlane/protocol/VideoKeys.h; what the video does not say is missing. The facts are
/// those of a video, whose file is `fileBytes` large.
[[nodiscard]] Ref<Dictionary> describeVideo(const PictureFacts &facts, std::uint64_t fileBytes);

} // namespace wickerlane::hoardd

#endif

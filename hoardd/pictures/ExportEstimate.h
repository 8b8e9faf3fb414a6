// How large an exported video would be.
#ifndef HOARDD_PICTURES_EXPORTESTIMATE_H
#define HOARDD_PICTURES_EXPORTESTIMATE_H

#include <cstdint>
#include <string_view>

#include "hoardd/media/Picture.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane::hoardd {

/// Bytes of an export. `fileBytes` is the size of the video's file; an empty preset is the default one;
/// `properties` may be null. Fails when there is no such preset, or the video does not say how long it is.
[[nodiscard]] Result<std::int64_t> estimatedExportBytes(const PictureFacts &facts, std::uint64_t fileBytes,
                                                        std::string_view preset,
                                                        const Dictionary *properties);

} // namespace wickerlane::hoardd

#endif

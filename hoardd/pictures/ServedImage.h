// Serving an asset's picture.
#ifndef HOARDD_PICTURES_SERVEDIMAGE_H
#define HOARDD_PICTURES_SERVEDIMAGE_H

#include <cstdint>

#include "hoardd/library/Library.h"
#include "wickerlane/platform/message/value/MessageValue.h"

namespace wickerlane::hoardd {

/// The picture of an asset in a format of wickerlane/protocol/ImageDataFormats.h, as the value that carries
/// it. What exists already is lent from its file, what is made travels as shared memory. Blocks while a
/// picture is decoded.
[[nodiscard]] Result<Ref<MessageValue>> imageOf(Library &library, const AssetRecord &asset,
                                                std::uint64_t format);

} // namespace wickerlane::hoardd

#endif

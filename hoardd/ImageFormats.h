// Serving an asset's picture.
#ifndef HOARDD_IMAGEFORMATS_H
#define HOARDD_IMAGEFORMATS_H

#include <cstdint>
#include <string>

#include "hoardd/Library.h"
#include "wickerlane/platform/message/MessageValue.h"

namespace hoardd {

/// A picture as the value that carries it, or why there is none.
struct ServedImage {
    Ref<wickerlane::MessageValue> value;
    std::string problem;
};

/// The picture of an asset in a format of wickerlane/protocol/ImageFormats.h. What exists already is lent
/// from its file, what is made travels as shared memory. May block for as long as a decoding takes.
[[nodiscard]] ServedImage imageOf(Library &library, const wickerlane::store::ManagedAsset &asset,
                                  std::uint64_t format);

} // namespace hoardd

#endif

// Serving an asset's picture.
#ifndef HOARDD_PICTURES_SERVEDIMAGE_H
#define HOARDD_PICTURES_SERVEDIMAGE_H

#include <cstdint>
#include <string>

#include "hoardd/library/Library.h"
#include "wickerlane/platform/message/value/MessageValue.h"

namespace wickerlane::hoardd {

/// A picture as the value that carries it, or why there is none.
struct ServedImage {
    Ref<MessageValue> value;
    std::string problem;
};

/// The picture of an asset in a format of wickerlane/protocol/ImageDataFormats.h. What exists already is lent
/// from its file, what is made travels as shared memory. May block for as long as a decoding takes.
[[nodiscard]] ServedImage imageOf(Library &library, const store::ManagedAsset &asset, std::uint64_t format);

} // namespace wickerlane::hoardd

#endif

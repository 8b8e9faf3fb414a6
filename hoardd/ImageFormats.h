// The image formats in which an asset's picture can be had.
#ifndef HOARDD_IMAGEFORMATS_H
#define HOARDD_IMAGEFORMATS_H

#include <cstdint>
#include <string>

#include "hoardd/Library.h"
#include "wickerlane/platform/message/MessageValue.h"

namespace hoardd {

/// What travels under "format" of a request for image data.
enum class ServedFormat : std::uint64_t {
    original = 0,     ///< The bytes that were saved.
    smallJPEG = 1,    ///< Upright, at most 256 pixels a side; made when the asset was saved.
    previewJPEG = 2,  ///< Upright, at most 1024 pixels a side; made when the asset was saved.
    fullSizeJPEG = 3, ///< Upright, of full size; made when it is asked for.
    fullSizePNG = 4,  ///< The same, without loss.
};

/// A picture as the value that carries it, or why there is none.
struct ServedImage {
    Ref<wickerlane::MessageValue> value;
    std::string problem;
};

/// The picture of an asset. What exists already is lent from its file, what is made travels as shared memory.
/// May block for as long as a decoding takes.
[[nodiscard]] ServedImage imageOf(Library &library, const wickerlane::store::ManagedAsset &asset,
                                  std::uint64_t format);

} // namespace hoardd

#endif

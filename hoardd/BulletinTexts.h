// What bulletins say, in the language that the user prefers.
#ifndef HOARDD_BULLETINTEXTS_H
#define HOARDD_BULLETINTEXTS_H

#include <cstddef>
#include <string_view>

#include "wickerlane/platform/object/String.h"

namespace hoardd {

struct AddedAssets {
    std::size_t photos = 0;
    std::size_t videos = 0;
};

/// That somebody, whose name may be empty, has added assets to an album. Borrowed.
[[nodiscard]] wickerlane::String *assetsAddedText(const AddedAssets &added, std::string_view sender,
                                                  std::string_view album);

} // namespace hoardd

#endif

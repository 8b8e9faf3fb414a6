// JPEG pictures turned by quarters.
#ifndef CLI_VIEW_TURNEDJPEG_H
#define CLI_VIEW_TURNEDJPEG_H

#include <cstddef>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::cli::view {

/// A JPEG picture turned clockwise by so many quarters, 1 to 3: without loss if its size allows, else encoded
/// again. Keeps what its file says besides, such as its colour profile.
Result<std::vector<std::byte>> turnedJPEG(Bytes picture, int quarters);

} // namespace wickerlane::cli::view

#endif

// JPEG pictures turned by quarters.
#ifndef CLI_VIEW_TURNEDJPEG_H
#define CLI_VIEW_TURNEDJPEG_H

#include <cstddef>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::cli::view {

/// A JPEG picture turned clockwise by 1 to 3 quarters: without loss if its size allows, else encoded again.
/// The metadata of its file, such as the colour profile, is kept.
Result<std::vector<std::byte>> turnedJPEG(Bytes picture, int quarters);

} // namespace wickerlane::cli::view

#endif

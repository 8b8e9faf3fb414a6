// Turning pictures.
#ifndef CLI_VIEW_ROTATION_H
#define CLI_VIEW_ROTATION_H

#include <cstddef>
#include <vector>

#include "cli/Output.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::cli::view {

/// A JPEG picture turned clockwise by so many quarters, 1 to 3: without loss if its size allows, else encoded
/// again. Keeps what its file says besides, such as its colour profile.
Result<std::vector<std::byte>> turnedJPEG(Bytes picture, int quarters);

/// Turns the picture that is shown of an asset, as an edit. The body and the answer are those of
/// /api/assets/rotate. One is turned at a time.
Result<JSON> rotateAsset(const JSON &body);

} // namespace wickerlane::cli::view

#endif

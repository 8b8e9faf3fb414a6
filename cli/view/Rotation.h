// Turning pictures.
#ifndef CLI_VIEW_ROTATION_H
#define CLI_VIEW_ROTATION_H

#include "cli/Output.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// Turns the picture that is shown of an asset, as an edit. The body and the answer are those of
/// /api/assets/rotate. One is turned at a time.
Result<JSON> rotateAsset(const JSON &body);

} // namespace wickerlane::cli::view

#endif

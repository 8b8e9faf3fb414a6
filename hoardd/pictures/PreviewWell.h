// The camera's preview well, which shows one asset or none: a copy of its small thumbnail.
#ifndef HOARDD_PICTURES_PREVIEWWELL_H
#define HOARDD_PICTURES_PREVIEWWELL_H

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

[[nodiscard]] Result<> showInPreviewWell(Library &library, const store::AssetRecord &asset);
[[nodiscard]] Result<> clearPreviewWell(Library &library);
[[nodiscard]] bool isInPreviewWell(const Library &library, const store::AssetRecord &asset);

} // namespace wickerlane::hoardd

#endif

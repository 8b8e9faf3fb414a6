// What people said of a picture in a file of metadata beside it.
#ifndef HOARDD_PICTURES_SIDECARFACTS_H
#define HOARDD_PICTURES_SIDECARFACTS_H

#include "hoardd/library/Library.h"
#include "wickerlane/model/AssetRecord.h"

namespace wickerlane::hoardd {

/// Sets the rating, the caption and the keywords of an asset as far as the file has them: it goes before what
/// the picture says, since programs that never write originals write there. What can't be read says nothing.
/// Blocks while a worker reads it.
void readSidecar(Library &library, int file, AssetRecord &record);

} // namespace wickerlane::hoardd

#endif

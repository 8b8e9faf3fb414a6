// What people said of a picture in a file of metadata beside it.
#ifndef HOARDD_PICTURES_SIDECARFACTS_H
#define HOARDD_PICTURES_SIDECARFACTS_H

#include "hoardd/library/Library.h"
#include "wickerlane/model/AssetRecord.h"

namespace wickerlane::hoardd {

/// Sets the rating, the caption and the keywords of an asset as far as the file has them: it goes before what
/// the picture says, since programs that never write originals write there. One that makes no sense says
/// nothing. When it can't be read, through no fault of its own, the three become due again. Blocks while a
/// worker reads it.
void readSidecar(Library &library, int file, AssetRecord &record);

/// The same for the file that the library keeps with an asset, if there is one.
void readKeptSidecar(Library &library, AssetRecord &record);

} // namespace wickerlane::hoardd

#endif

// Which two files are of one shot.
#ifndef HOARDD_SAVING_PAIRRULE_H
#define HOARDD_SAVING_PAIRRULE_H

#include "hoardd/media/PictureFacts.h"

namespace wickerlane::hoardd {

/// Whether a file is the raw file of a picture, or the short video that was taken with it, by what both say
/// of themselves. The picture is a JPEG or HEIF, and both files must tell when they were taken: names alone
/// are given again when a camera's counter starts over.
[[nodiscard]] bool areOneShot(const PictureFacts &picture, const PictureFacts &companion);

} // namespace wickerlane::hoardd

#endif

// Whether a thumbnail's file holds what hoardd wrote.
#ifndef WICKERLANE_STORE_THUMBNAILFILE_H
#define WICKERLANE_STORE_THUMBNAILFILE_H

#include <cstdint>
#include <string>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::store {

/// How much of a thumbnail is looked at. No pixel is decoded either way.
enum class ThumbnailLook {
    name, ///< Whether there is a file.
    ends, ///< The header with its size, and the end: the work of a moment.
    whole ///< All parts, which also finds most damage in between.
};

/// Of the whole file. Fails with `invalid` when a file is no JPEG, its sides are longer than `maxSide`, or it
/// is cut off.
[[nodiscard]] WL_EXPORT Result<> checkThumbnail(Bytes file, std::uint32_t maxSide, ThumbnailLook look);

/// The same of the file at a path. Fails with `notFound` when there is none.
[[nodiscard]] WL_EXPORT Result<> checkThumbnail(const std::string &path, std::uint32_t maxSide,
                                                ThumbnailLook look);

} // namespace wickerlane::store

#endif

// What takes room in a library.
#ifndef WICKERLANE_PROTOCOL_SIZEKIND_H
#define WICKERLANE_PROTOCOL_SIZEKIND_H

#include <cstdint>

namespace wickerlane::protocol {

/// The numbers travel; each is a bit of the masks that ask for sizes.
enum class SizeKind : std::uint32_t {
    photos = 1,   ///< Originals of photos.
    videos = 2,   ///< Originals of videos.
    derived = 4,  ///< Thumbnails and edited renditions.
    database = 8, ///< The store, and what else hoardd keeps beside it.
    trash = 16,   ///< All files of what is in the trash, which the others leave out.
};

} // namespace wickerlane::protocol

#endif

// What a file becomes in the library, as far as its first bytes and its name tell.
#ifndef HOARDD_MEDIA_FILETYPE_H
#define HOARDD_MEDIA_FILETYPE_H

#include <span>
#include <string>
#include <string_view>

#include "wickerlane/model/MediaType.h"

namespace wickerlane::hoardd {

struct FileType {
    AssetKind kind = AssetKind::photo;
    std::string mediaType; ///< `unknownMediaType` when it is not known.
    std::string extension; ///< For the library: upper case, never empty.
    bool isMedia = false;  ///< Its content or its name says that it is a picture or a video.
};

/// Decided by the first `mediaTypeBytes` of the content; the name, which may be empty, only decides what the
/// content leaves open.
[[nodiscard]] FileType fileTypeOf(std::span<const std::byte> start, std::string_view name);

/// The same of a regular file. One that can't be read has no content.
[[nodiscard]] FileType fileTypeOf(int file, std::string_view name);

/// Whether it is an extension that may stand in a file name of the library: 1 to 16 ASCII letters and digits.
[[nodiscard]] bool isPlainExtension(std::string_view extension);

} // namespace wickerlane::hoardd

#endif

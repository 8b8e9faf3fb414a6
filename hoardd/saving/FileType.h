// What kind of file something is, as far as its first bytes and its name tell.
#ifndef HOARDD_SAVING_FILETYPE_H
#define HOARDD_SAVING_FILETYPE_H

#include <string>
#include <string_view>

#include "hoardd/media/ImageFormat.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/store/AssetRecord.h"

namespace wickerlane::hoardd {

struct FileType {
    store::AssetKind kind = store::AssetKind::photo;
    std::string mediaType; ///< "application/octet-stream" when it is not known.
    std::string extension; ///< For the library: upper case, never empty.
};

/// How many bytes from a file's start fileTypeOf() looks at.
inline constexpr std::size_t fileTypeBytes = imageFormatBytes;

/// Told by content; the name, which may be empty, only decides what the content leaves open.
[[nodiscard]] FileType fileTypeOf(Bytes start, std::string_view name);

/// Whether it is an extension that may stand in a file name of the library: 1 to 16 ASCII letters and digits.
[[nodiscard]] bool isPlainExtension(std::string_view extension);

} // namespace wickerlane::hoardd

#endif

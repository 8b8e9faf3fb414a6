// What people have written into a picture file with other programs: rating, caption, keywords.
#ifndef HOARDD_MEDIA_WORKER_WRITTENTEXTS_H
#define HOARDD_MEDIA_WORKER_WRITTENTEXTS_H

#include <cstdint>
#include <exiv2/exiv2.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace wickerlane::hoardd::media {

/// The metadata of one file.
struct MetadataBlocks {
    const Exiv2::ExifData &exif;
    const Exiv2::IptcData &iptc;
    const Exiv2::XmpData &xmp;
};

// They may throw what the library throws.

/// 0 to 5; one that is rejected counts as 0.
[[nodiscard]] std::uint32_t writtenRating(const MetadataBlocks &blocks);
/// Not what a camera writes into each of its files. Its maker and model are as the file says.
[[nodiscard]] std::string writtenCaption(const MetadataBlocks &blocks, std::string_view maker,
                                         std::string_view model);
/// In the form in which they are kept.
[[nodiscard]] std::string writtenKeywords(const MetadataBlocks &blocks);

/// The number under a tag of EXIF; nothing unless it is one.
[[nodiscard]] std::optional<std::uint32_t> exifNumber(const Exiv2::ExifData &exif, const std::string &group,
                                                      const char *tag);

} // namespace wickerlane::hoardd::media

#endif

// Decodes a picture file, once, at the size that is needed.
#ifndef HOARDD_MEDIA_WORKER_PICTUREREADER_H
#define HOARDD_MEDIA_WORKER_PICTUREREADER_H

#include <cstddef>
#include <span>

#include "hoardd/media/worker/Image.h"

namespace wickerlane::hoardd::media {

/// A picture file in memory whose header has been read and found within the limits. The bytes must outlive it
/// and every image made from it.
class PictureReader {
public:
    /// Reads the header. Throws MediaError when it cannot be read, or promises too much.
    PictureReader(std::span<const std::byte> file, MediaFormat format);

    [[nodiscard]] std::uint32_t width() const noexcept { return storedWidth; }   ///< As stored, not turned.
    [[nodiscard]] std::uint32_t height() const noexcept { return storedHeight; } ///< As stored, not turned.

    /// The picture in sRGB, turned upright, without alpha (white shows through), its sides limited to
    /// `maxSide`; in memory, so that smaller ones can be made from it.
    [[nodiscard]] Image thumbnail(std::uint32_t maxSide, std::uint32_t orientation) const;

    /// The picture with its own colours and profile, turned upright; its sides limited to `maxSide`,
    /// or as stored for 0. Colours that are not RGB or grey become sRGB.
    [[nodiscard]] Image picture(std::uint32_t maxSide, std::uint32_t orientation) const;

private:
    [[nodiscard]] Image decodedSmall(std::uint32_t maxSide) const;
    [[nodiscard]] Image decodedJpegSmall(std::uint32_t maxSide) const;

    std::span<const std::byte> bytes;
    Image header;
    bool isPlainJpeg = false; ///< A JPEG of grey or ordinary colour.
    std::uint32_t storedWidth = 0;
    std::uint32_t storedHeight = 0;
};

/// An image made smaller, so that its sides are no longer than `maxSide`; in memory.
[[nodiscard]] Image shrunk(VipsImage *image, std::uint32_t maxSide);

} // namespace wickerlane::hoardd::media

#endif

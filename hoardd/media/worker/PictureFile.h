// A picture file that is being read: its facts, and the decoder of its pixels.
#ifndef HOARDD_MEDIA_WORKER_PICTUREFILE_H
#define HOARDD_MEDIA_WORKER_PICTUREFILE_H

#include <optional>
#include <vector>

#include "hoardd/media/worker/MappedFile.h"
#include "hoardd/media/worker/Metadata.h"
#include "hoardd/media/worker/PictureReader.h"

namespace wickerlane::hoardd::media {

class PictureFile {
public:
    /// Reads the metadata. Throws MediaError when the file is no picture of a known format.
    explicit PictureFile(int descriptor);

    /// The size is known once the picture has been opened.
    [[nodiscard]] const PictureFacts &facts() const noexcept { return known; }

    /// What decodes the picture, with its header read; of a raw file, the preview that suits pictures of
    /// that size (0: the largest). Throws MediaError. It lives as long as this object. Call it once.
    const PictureReader &open(std::uint32_t maxSide);

    /// A thumbnail of the small preview in the file, upright, with the picture's proportions; null when there
    /// is none. Throws MediaError when it can't be decoded. After open().
    [[nodiscard]] Image previewThumbnail(std::uint32_t maxSide) const;

private:
    const MappedFile file;
    const Metadata metadata;
    PictureFacts known;
    std::vector<std::byte> rawPreview;
    std::optional<PictureReader> reader;
};

} // namespace wickerlane::hoardd::media

#endif

// What a picture file says of itself: date, place, orientation, camera, and the previews that it carries.
#ifndef HOARDD_MEDIA_WORKER_METADATA_H
#define HOARDD_MEDIA_WORKER_METADATA_H

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "hoardd/media/Picture.h"

namespace wickerlane::hoardd::media {

/// Loads what reading metadata needs; once, before confinement.
void prepareMetadata();

/// The version of the library that reads metadata.
std::string metadataLibraryVersion();

/// Of one file in memory, which must outlive it. Bytes without metadata, or with broken ones, say nothing.
class Metadata {
public:
    explicit Metadata(std::span<const std::byte> file);
    ~Metadata();

    /// Fills all but the format and the sizes.
    void fill(PictureFacts &facts) const;
    /// Whether a file that begins as a TIFF file does is a raw file: its pixels are what a sensor saw.
    [[nodiscard]] bool isRaw() const;
    /// Width and height in pixels, as stored; 0 where the file does not say or says nonsense.
    [[nodiscard]] std::pair<std::uint32_t, std::uint32_t> size() const;
    /// A JPEG that has not been decoded yet: the smallest preview whose longer side has `maxSide` pixels or
    /// more; the largest when none has, or for 0. Empty when the file carries none.
    [[nodiscard]] std::vector<std::byte> preview(std::uint32_t maxSide) const;

private:
    struct Parsed;
    std::unique_ptr<Parsed> parsed;
};

} // namespace wickerlane::hoardd::media

#endif

#include "hoardd/media/worker/PictureFile.h"

#include <algorithm>
#include <cmath>

#include "hoardd/media/worker/CutOff.h"

namespace wickerlane::hoardd::media {

namespace {

// Whether decoders of the format turn the picture by its container and leave nothing to do.
bool isTurnedByDecoder(MediaFormat format) {
    return format == MediaFormat::heif || format == MediaFormat::avif || format == MediaFormat::jxl;
}

// Cameras pad small previews to the proportions of a screen: the bars go.
Image withoutBars(Image image, double proportion) {
    const int width = vips_image_get_width(image.get()), height = vips_image_get_height(image.get());
    const int within = std::clamp(static_cast<int>(std::lround(height * proportion)), 1, width);
    const int high = std::clamp(static_cast<int>(std::lround(width / proportion)), 1, height);
    constexpr double alike = 0.98; // so much comes of rounding
    if (within > width * alike && high > height * alike)
        return image;
    return made([&](VipsImage **out) {
        return vips_extract_area(image.get(), out, (width - within) / 2, (height - high) / 2, within, high,
                                 nullptr);
    });
}

} // namespace

PictureFile::PictureFile(int descriptor) : file(descriptor), metadata(file.bytes()) {
    known.format = mediaFormatOf(file.bytes());
    if (known.format == MediaFormat::unknown)
        throw MediaError(MediaFailure::unknownFormat, "the file is not a picture of a known format");
    metadata.fill(known);
    if (isTurnedByDecoder(known.format))
        known.orientation = 1;
    if (known.format == MediaFormat::tiff && metadata.isRaw())
        known.format = MediaFormat::raw;
    known.isCutOff = isCutOff(file.bytes(), known.format) ? 1 : 0;
}

const PictureReader &PictureFile::open(std::uint32_t maxSide) {
    std::pair<std::uint32_t, std::uint32_t> size{0, 0};
    if (known.format == MediaFormat::raw) {
        rawPreview = metadata.preview(maxSide);
        if (mediaFormatOf(rawPreview) != MediaFormat::jpeg)
            throw MediaError(MediaFailure::noDecoder,
                             "there is no decoder here for raw files, and this one carries no preview");
        size = metadata.size();
        reader.emplace(rawPreview, MediaFormat::jpeg);
    } else {
        reader.emplace(file.bytes(), known.format);
    }
    if (size.first == 0 || size.second == 0)
        size = {reader->width(), reader->height()};
    const bool isSideways = known.orientation >= 5;
    known.width = isSideways ? size.second : size.first;
    known.height = isSideways ? size.first : size.second;
    return *reader;
}

Image PictureFile::previewThumbnail(std::uint32_t maxSide) const {
    if (isTurnedByDecoder(known.format))
        return nullptr; // nothing says how its previews are turned
    const std::vector<std::byte> preview = metadata.preview(maxSide);
    if (mediaFormatOf(preview) != MediaFormat::jpeg)
        return nullptr;
    Image image = PictureReader(preview, MediaFormat::jpeg).thumbnail(maxSide, known.orientation);
    return withoutBars(std::move(image), static_cast<double>(known.width) / known.height);
}

} // namespace wickerlane::hoardd::media

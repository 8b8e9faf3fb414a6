// The image formats in which hoardd returns an asset's picture.
#ifndef WICKERLANE_PROTOCOL_IMAGEDATAFORMATS_H
#define WICKERLANE_PROTOCOL_IMAGEDATAFORMATS_H

namespace wickerlane::protocol {

/// The value of "format" in a request for image data.
enum ImageDataFormat : int {
    imageDataOriginal = 0,     ///< The bytes that were saved.
    imageDataSmallJPEG = 1,    ///< Upright, at most 256 pixels a side; kept once made.
    imageDataPreviewJPEG = 2,  ///< Upright, at most 1024 pixels a side; kept once made.
    imageDataFullSizeJPEG = 3, ///< Upright, of full size; made on each request.
    imageDataFullSizePNG = 4,  ///< The same, without loss.
    imageDataLargeJPEG = 5,    ///< Upright, at most 2048 pixels a side; made on the first request and kept.
};

/// A format and its name in the command.
struct NamedImageDataFormat {
    ImageDataFormat format;
    const char *name;
};

inline constexpr NamedImageDataFormat imageDataFormats[] = {
    {imageDataOriginal, "original"}, {imageDataSmallJPEG, "small"},   {imageDataPreviewJPEG, "preview"},
    {imageDataLargeJPEG, "large"},   {imageDataFullSizeJPEG, "full"}, {imageDataFullSizePNG, "png"},
};

} // namespace wickerlane::protocol

#endif

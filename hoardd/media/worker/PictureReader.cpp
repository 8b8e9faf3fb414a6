#include "hoardd/media/worker/PictureReader.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cstring>

#include "hoardd/media/worker/JpegLayout.h"
#include "hoardd/media/worker/PngLines.h"

namespace wickerlane::hoardd::media {

namespace {

struct DestroyDecoder {
    void operator()(void *decoder) const noexcept { tjDestroy(decoder); }
};
using JpegDecoder = std::unique_ptr<void, DestroyDecoder>;

const unsigned char *jpegBytes(std::span<const std::byte> bytes) {
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

// Turns an image by an EXIF orientation. `image` must be readable in any order when it is turned.
Image upright(Image image, std::uint32_t orientation) {
    Image turned = made([&](VipsImage **out) { return vips_copy(image.get(), out, nullptr); });
    vips_image_set_int(turned.get(), VIPS_META_ORIENTATION, static_cast<int>(orientation));
    return made([&](VipsImage **out) { return vips_autorot(turned.get(), out, nullptr); });
}

Image inMemory(const Image &image) {
    VipsImage *copy = vips_image_copy_memory(image.get());
    if (copy == nullptr)
        throw imageLibraryError();
    return Image(copy);
}

// Brings any colours to 8-bit sRGB, through the embedded profile when there is one.
Image inStandardColours(Image image) {
    if (vips_image_get_typeof(image.get(), VIPS_META_ICC_NAME) != 0 && vips_icc_present()) {
        VipsImage *out = nullptr;
        if (vips_icc_transform(image.get(), &out, "srgb", "embedded", TRUE, "intent", VIPS_INTENT_RELATIVE,
                               nullptr) == 0)
            return Image(out);
        vips_error_clear(); // a broken profile: the colours count as ordinary ones
    }
    return made([&](VipsImage **out) {
        return vips_colourspace(image.get(), out, VIPS_INTERPRETATION_sRGB, nullptr);
    });
}

Image onWhite(Image image) {
    if (!vips_image_hasalpha(image.get()))
        return image;
    VipsArrayDouble *white = vips_array_double_newv(1, 255.0);
    VipsImage *flat = nullptr;
    const int failed = vips_flatten(image.get(), &flat, "background", white, nullptr);
    vips_area_unref(VIPS_AREA(white));
    if (failed != 0)
        throw imageLibraryError();
    return Image(flat);
}

void checkSize(std::uint64_t width, std::uint64_t height) {
    if (width == 0 || height == 0)
        throw MediaError(MediaFailure::damaged, "the picture has no size");
    if (width > pictureLimits.side || height > pictureLimits.side || width * height > pictureLimits.pixels)
        throw MediaError(MediaFailure::tooLarge, "the picture says it has " + std::to_string(width) + " x " +
                                                     std::to_string(height) +
                                                     " pixels, more than are allowed");
}

} // namespace

PictureReader::PictureReader(std::span<const std::byte> file, MediaFormat format) : bytes(file) {
    if (format == MediaFormat::jpeg) {
        const JpegDecoder decoder(tjInitDecompress());
        int width = 0;
        int height = 0;
        int subsampling = 0;
        int colours = 0;
        if (tjDecompressHeader3(decoder.get(), jpegBytes(bytes), bytes.size(), &width, &height, &subsampling,
                                &colours) != 0 &&
            tjGetErrorCode(decoder.get()) != TJERR_WARNING)
            throw MediaError(MediaFailure::damaged, unreadableHeader);
        storedWidth = static_cast<std::uint32_t>(width);
        storedHeight = static_cast<std::uint32_t>(height);
        checkSize(storedWidth, storedHeight);
        // Two bytes a coefficient, and no more than one coefficient a pixel and colour.
        const std::uint64_t samples = subsampling == TJSAMP_GRAY ? 2 : subsampling == TJSAMP_444 ? 6 : 4;
        const JpegLayout layout = layoutOfJpeg(bytes);
        if (bytes.size() - layout.pixels <= 2) // an end marker at most
            throw MediaError(MediaFailure::damaged, "the file holds no line of the picture");
        if (layout.isProgressive && samples * storedWidth * storedHeight > pictureLimits.memoryBytes / 4 * 3)
            throw MediaError(MediaFailure::tooLarge,
                             "the progressive picture takes more memory than is allowed");
        isPlainJpeg = colours == TJCS_YCbCr || colours == TJCS_GRAY || colours == TJCS_RGB;
    }
    if (vips_foreign_find_load_buffer(bytes.data(), bytes.size()) == nullptr) {
        vips_error_clear();
        throw MediaError(MediaFailure::noDecoder,
                         std::string("there is no decoder here for ") + mediaFormatName(format));
    }
    header = Image(vips_image_new_from_buffer(bytes.data(), bytes.size(), "", nullptr));
    if (!header)
        throw imageLibraryError(unreadableHeader);
    storedWidth = static_cast<std::uint32_t>(vips_image_get_width(header.get()));
    storedHeight = static_cast<std::uint32_t>(vips_image_get_height(header.get()));
    checkSize(storedWidth, storedHeight);
    // A decoder shows the lines that a damaged PNG lacks as black ones; without any line there is no picture.
    if (format == MediaFormat::png && !holdsFirstLine(bytes))
        throw MediaError(MediaFailure::damaged, "the file holds no line of the picture");
}

// Decodes at the smallest of the scales that the format offers almost for free, then shrinks the rest of the
// way. The decoder has more scales, but only these are quick.
Image PictureReader::decodedJpegSmall(std::uint32_t maxSide) const {
    int width = static_cast<int>(storedWidth);
    int height = static_cast<int>(storedHeight);
    for (const int part : {2, 4, 8}) {
        const tjscalingfactor factor{1, part};
        const int scaledWidth = TJSCALED(static_cast<int>(storedWidth), factor);
        const int scaledHeight = TJSCALED(static_cast<int>(storedHeight), factor);
        if (std::max(scaledWidth, scaledHeight) < static_cast<int>(maxSide))
            break;
        width = scaledWidth;
        height = scaledHeight;
    }
    Image image(vips_image_new_memory());
    const bool grey = vips_image_get_bands(header.get()) == 1;
    const int bands = grey ? 1 : 3;
    vips_image_init_fields(image.get(), width, height, bands, VIPS_FORMAT_UCHAR, VIPS_CODING_NONE,
                           grey ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB, 1, 1);
    if (vips_image_write_prepare(image.get()) != 0)
        throw imageLibraryError();
    const JpegDecoder decoder(tjInitDecompress());
    // A damaged file is shown as far as it goes, as viewers do: only what is no picture at all is an error.
    if (tjDecompress2(decoder.get(), jpegBytes(bytes), bytes.size(), image->data, width, width * bands,
                      height, grey ? TJPF_GRAY : TJPF_RGB, TJFLAG_LIMITSCANS) != 0 &&
        tjGetErrorCode(decoder.get()) != TJERR_WARNING)
        throw MediaError(MediaFailure::damaged, unreadablePixels);

    const void *profile = nullptr;
    std::size_t profileSize = 0;
    if (vips_image_get_typeof(header.get(), VIPS_META_ICC_NAME) != 0 &&
        vips_image_get_blob(header.get(), VIPS_META_ICC_NAME, &profile, &profileSize) == 0)
        vips_image_set_blob_copy(image.get(), VIPS_META_ICC_NAME, profile, profileSize);
    return image;
}

Image PictureReader::decodedSmall(std::uint32_t maxSide) const {
    if (isPlainJpeg) {
        const Image decoded = decodedJpegSmall(maxSide);
        return shrunk(decoded.get(), maxSide);
    }
    const int side = static_cast<int>(maxSide);
    const Image image = made([&](VipsImage **out) {
        return vips_thumbnail_buffer(const_cast<std::byte *>(bytes.data()), bytes.size(), out, side, "height",
                                     side, "size", VIPS_SIZE_DOWN, "no_rotate", TRUE, nullptr);
    });
    return inMemory(image);
}

Image PictureReader::thumbnail(std::uint32_t maxSide, std::uint32_t orientation) const {
    Image image = inStandardColours(decodedSmall(maxSide));
    return inMemory(upright(onWhite(std::move(image)), orientation));
}

Image PictureReader::picture(std::uint32_t maxSide, std::uint32_t orientation) const {
    Image image;
    if (maxSide != 0 && maxSide < std::max(storedWidth, storedHeight)) {
        image = decodedSmall(maxSide);
    } else {
        // A picture that is not turned is decoded row by row while it is written.
        const VipsAccess access = orientation == 1 ? VIPS_ACCESS_SEQUENTIAL : VIPS_ACCESS_RANDOM;
        image.reset(vips_image_new_from_buffer(bytes.data(), bytes.size(), "", "access", access, nullptr));
        if (!image)
            throw imageLibraryError();
    }
    const VipsInterpretation colours = vips_image_get_interpretation(image.get());
    const bool ordinary = colours == VIPS_INTERPRETATION_sRGB || colours == VIPS_INTERPRETATION_RGB ||
                          colours == VIPS_INTERPRETATION_B_W || colours == VIPS_INTERPRETATION_RGB16 ||
                          colours == VIPS_INTERPRETATION_GREY16;
    if (!ordinary)
        image = inStandardColours(std::move(image));
    return upright(std::move(image), orientation);
}

Image shrunk(VipsImage *image, std::uint32_t maxSide) {
    const double scale = std::min(1.0, static_cast<double>(maxSide) / longerSide(image));
    // Averages as far as whole steps go, and filters only the rest of the way, with two lobes rather than
    // three: half the work, to the same eye.
    return inMemory(made([&](VipsImage **out) {
        return vips_resize(image, out, scale, "gap", 1.0, "kernel", VIPS_KERNEL_LANCZOS2, nullptr);
    }));
}

} // namespace wickerlane::hoardd::media

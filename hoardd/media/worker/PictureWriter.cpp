#include "hoardd/media/worker/PictureWriter.h"

#include <unistd.h>

#include <array>
#include <string_view>
#include <vector>

namespace wickerlane::hoardd::media {

namespace {

// A copy of an image with nothing but its pixels and its colour profile.
Image withoutMetadata(VipsImage *image) {
    Image bare = made([&](VipsImage **out) { return vips_copy(image, out, nullptr); });
    gchar **fields = vips_image_get_fields(bare.get());
    for (gchar **field = fields; field != nullptr && *field != nullptr; ++field)
        if (std::string_view(*field) != VIPS_META_ICC_NAME)
            vips_image_remove(bare.get(), *field);
    g_strfreev(fields);
    return bare;
}

int save(VipsImage *image, VipsTarget *target, MediaFormat format, int quality, gboolean strip) {
    VipsArrayDouble *white = vips_array_double_newv(1, 255.0);
    int failed = -1;
    switch (format) {
    case MediaFormat::jpeg:
        failed =
            vips_jpegsave_target(image, target, "Q", quality, "background", white, "strip", strip, nullptr);
        break;
    case MediaFormat::png:
        failed = vips_pngsave_target(image, target, "strip", strip, nullptr);
        break;
    case MediaFormat::webp:
        failed = vips_webpsave_target(image, target, "Q", quality, "strip", strip, nullptr);
        break;
    default:
        break;
    }
    vips_area_unref(VIPS_AREA(white));
    return failed;
}

Image pick(VipsImage *image, int band, int count) {
    return made([&](VipsImage **out) { return vips_extract_band(image, out, band, "n", count, nullptr); });
}

// Blue, green, red, alpha to red, green, blue, alpha.
Image withRedFirst(VipsImage *image) {
    const Image blue = pick(image, 0, 1);
    const Image green = pick(image, 1, 1);
    const Image red = pick(image, 2, 1);
    const Image alpha = pick(image, 3, 1);
    VipsImage *bands[] = {red.get(), green.get(), blue.get(), alpha.get()};
    return made([&](VipsImage **out) { return vips_bandjoin(bands, out, 4, nullptr); });
}

} // namespace

void writePicture(VipsImage *image, int output, MediaFormat format, std::uint32_t quality,
                  bool keepsProfile) {
    const int maxSide = format == MediaFormat::webp ? 16'383 : static_cast<int>(pictureLimits.side);
    if (vips_image_get_width(image) > maxSide || vips_image_get_height(image) > maxSide)
        throw MediaError(MediaFailure::tooLarge,
                         std::string("the picture is too large for ") + mediaFormatName(format));
    const Target target(vips_target_new_to_descriptor(output));
    if (!target)
        throw MediaError(MediaFailure::outputFailed, unwritableOutput);
    const Image bare = withoutMetadata(image);
    // Only now are the pixels of some pictures decoded.
    if (save(bare.get(), target.get(), format, static_cast<int>(quality), keepsProfile ? FALSE : TRUE) != 0)
        throw imageLibraryError();
}

void copyWritten(int written, int output) {
    std::array<std::byte, 16 << 10> part;
    for (off_t done = 0;;) {
        const ssize_t count = pread(written, part.data(), part.size(), done);
        if (count == 0)
            return;
        if (count < 0 || write(output, part.data(), static_cast<std::size_t>(count)) != count)
            throw MediaError(MediaFailure::outputFailed, unwritableOutput);
        done += count;
    }
}

Image imageOfSurface(const void *pixels, const SurfacePixels &surface) {
    const int bands = surface.format == SurfaceFormat::gray ? 1 : 4;
    const auto rowPixels = static_cast<int>(surface.bytesPerRow / static_cast<unsigned>(bands));
    const auto height = static_cast<int>(surface.height);
    Image padded(vips_image_new_from_memory(pixels, surface.bytesPerRow * surface.height, rowPixels, height,
                                            bands, VIPS_FORMAT_UCHAR));
    if (!padded)
        throw imageLibraryError();
    Image image = made([&](VipsImage **out) {
        return vips_extract_area(padded.get(), out, 0, 0, static_cast<int>(surface.width), height, nullptr);
    });
    if (bands == 1)
        return made([&](VipsImage **out) {
            return vips_copy(image.get(), out, "interpretation", VIPS_INTERPRETATION_B_W, nullptr);
        });
    if (surface.format == SurfaceFormat::bgra)
        image = withRedFirst(image.get());
    image = made([&](VipsImage **out) {
        return vips_copy(image.get(), out, "interpretation", VIPS_INTERPRETATION_sRGB, nullptr);
    });
    image = made([&](VipsImage **out) { return vips_unpremultiply(image.get(), out, nullptr); });
    return made([&](VipsImage **out) { return vips_cast_uchar(image.get(), out, nullptr); });
}

} // namespace wickerlane::hoardd::media

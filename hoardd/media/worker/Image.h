// Owning handles of the image library's objects, and its failures as an exception inside the worker.
#ifndef HOARDD_MEDIA_WORKER_IMAGE_H
#define HOARDD_MEDIA_WORKER_IMAGE_H

#include <vips/vips.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "hoardd/media/Picture.h"

namespace wickerlane::hoardd::media {

struct Unref {
    void operator()(void *object) const noexcept { g_object_unref(object); }
};
using Image = std::unique_ptr<VipsImage, Unref>;
using Target = std::unique_ptr<VipsTarget, Unref>;

/// Ends a request; becomes its answer.
class MediaError : public std::runtime_error {
public:
    MediaError(MediaFailure kind, const std::string &reason) : std::runtime_error(reason), failure(kind) {}
    MediaFailure failure;
};

// What the libraries say themselves is about parts of the work, which mean nothing to people.
inline constexpr const char *unreadableHeader = "the header of the picture can't be read";
inline constexpr const char *unwritableOutput = "the output can't be written";
inline constexpr const char *unreadablePixels = "the pixels of the picture can't be decoded";

/// A "damaged" error with this reason, after a failure of the image library; a "too large" one without a
/// reason when memory ran out, and an "output failed" one when nothing could be written.
[[nodiscard]] MediaError imageLibraryError(const char *reason = unreadablePixels);

[[nodiscard]] inline std::uint32_t longerSide(VipsImage *image) {
    return static_cast<std::uint32_t>(std::max(vips_image_get_width(image), vips_image_get_height(image)));
}

/// Runs an operation of the image library that hands out one image:
/// `made([&](VipsImage **out) { return vips_flip(in, out, VIPS_DIRECTION_VERTICAL, nullptr); })`.
template <typename Operation>
Image made(const Operation &operation) {
    VipsImage *out = nullptr;
    if (operation(&out) != 0)
        throw imageLibraryError();
    return Image(out);
}

} // namespace wickerlane::hoardd::media

#endif

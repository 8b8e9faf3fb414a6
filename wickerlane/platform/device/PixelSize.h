// Sizes of screens.
#ifndef WICKERLANE_PLATFORM_DEVICE_PIXELSIZE_H
#define WICKERLANE_PLATFORM_DEVICE_PIXELSIZE_H

namespace wickerlane {

struct PixelSize {
    double width = 0;
    double height = 0;
    friend bool operator==(const PixelSize &, const PixelSize &) = default;
};

} // namespace wickerlane

#endif

#include "wickerlane/api/WLSurface.h"

using namespace wickerlane;

static_assert(WLPixelsBGRA == static_cast<int>(PixelFormat::bgra8));
static_assert(WLPixelsRGBA == static_cast<int>(PixelFormat::rgba8));
static_assert(WLPixelsGray == static_cast<int>(PixelFormat::gray8));

WLSurface *WLSurfaceCreate(uint32_t width, uint32_t height, uint32_t layout) {
    return ImageSurface::create(width, height, static_cast<PixelFormat>(layout)).leak();
}

uint32_t WLSurfaceWidth(const WLSurface *surface) {
    return surface != nullptr ? surface->width() : 0;
}

uint32_t WLSurfaceHeight(const WLSurface *surface) {
    return surface != nullptr ? surface->height() : 0;
}

size_t WLSurfaceBytesPerRow(const WLSurface *surface) {
    return surface != nullptr ? surface->bytesPerRow() : 0;
}

void *WLSurfaceWritableBytes(WLSurface *surface) {
    return surface != nullptr ? surface->writableBytes() : nullptr;
}

const void *WLSurfaceBytes(const WLSurface *surface) {
    return surface != nullptr ? surface->bytes() : nullptr;
}

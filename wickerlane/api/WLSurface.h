// Surfaces: pixels that are sent to the daemon without a copy, to be saved (WLSave.h).
//
// A program fills a surface and sends it. Once it was sent it can only be read. One thread at a time may fill
// one.
#ifndef WICKERLANE_API_WLSURFACE_H
#define WICKERLANE_API_WLSURFACE_H

#include "wickerlane/api/WLTypes.h"

#if WL_HAS_CLASSES
#include "wickerlane/platform/surface/ImageSurface.h"
using WLSurface = wickerlane::ImageSurface;
#else
typedef struct WLSurface WLSurface;
#endif

/// How pixels are laid out.
enum {
    WLPixelsBGRA = 0x42475241, ///< Blue, green, red, alpha (premultiplied), one byte each; sRGB.
    WLPixelsRGBA = 0x52474241, ///< The same in another order.
    WLPixelsGray = 0x4C303038, ///< One byte of brightness.
};

/// A surface of `width` times `height` pixels, all of them zero. Null when a size is 0 or above 65,500, the
/// layout is unknown, or there is no memory for it.
WL_EXTERN_C WLSurface *WLSurfaceCreate(uint32_t width, uint32_t height, uint32_t layout);

// Null or 0 for null.

WL_EXTERN_C uint32_t WLSurfaceWidth(const WLSurface *surface);
WL_EXTERN_C uint32_t WLSurfaceHeight(const WLSurface *surface);

/// How many bytes a row has: at least those of its pixels.
WL_EXTERN_C size_t WLSurfaceBytesPerRow(const WLSurface *surface);

/// The pixels to be filled, row after row, the upper one first; they live as long as the surface. Null after
/// the surface was sent; writing through an earlier pointer then ends the program.
WL_EXTERN_C void *WLSurfaceWritableBytes(WLSurface *surface);

/// The pixels to be read, as long as the surface lives.
WL_EXTERN_C const void *WLSurfaceBytes(const WLSurface *surface);

#endif

// For C++20: the functions that take a handler, for any callable. A null callable is a null handler. C, older
// C++, and C++ without exceptions find nothing here.
#ifndef WICKERLANE_API_WLCALLABLES_H
#define WICKERLANE_API_WLCALLABLES_H

#include "wickerlane/api/RZLibrary.h"

#if WL_HAS_CLASSES

#include "wickerlane/api/WLHandler.h"

inline void RZGetPhotosAndVideosCount(wickerlane::Handler<void(WLNumber *, WLNumber *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZGetPhotosAndVideosCount(c.function, c.context, c.release);
}

inline WLNumber *RZRegisterForPhotosAndVideosCount(wickerlane::Handler<void()> handler, WLQueue *queue) {
    const wickerlane::CHandler c(std::move(handler));
    return RZRegisterForPhotosAndVideosCount(c.function, c.context, c.release, queue);
}

inline void RZHasAtLeastOnePhoto(wickerlane::Handler<void(bool)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZHasAtLeastOnePhoto(c.function, c.context, c.release);
}

inline void RZGetLibrarySizes(WLQueue *queue, std::uint32_t kinds,
                              wickerlane::Handler<void(std::uint32_t, std::uint64_t)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZGetLibrarySizes(queue, kinds, c.function, c.context, c.release);
}

#endif

#endif

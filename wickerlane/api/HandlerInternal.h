// C++ callables made from C handlers.
#ifndef WICKERLANE_API_HANDLERINTERNAL_H
#define WICKERLANE_API_HANDLERINTERNAL_H

#include <memory>

#include "wickerlane/api/WLTypes.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane {

/// A callable that calls a C handler. The context is released with the last copy; for a null function, at
/// once.
template <class... Arguments>
Handler<void(Arguments...)> handlerOf(void (*function)(void *, Arguments...), void *context,
                                      WLReleaseContext release) {
    struct Release {
        WLReleaseContext release;
        void operator()(void *released) const {
            if (release != nullptr)
                release(released);
        }
    };
    // A null context is released like any other.
    std::shared_ptr<void> held(context, Release{release});
    if (function == nullptr)
        return nullptr;
    return [function, held = std::move(held)](Arguments... arguments) { function(held.get(), arguments...); };
}

} // namespace wickerlane

#endif

// C handlers made from C++ callables.
#ifndef WICKERLANE_API_WLHANDLER_H
#define WICKERLANE_API_WLHANDLER_H

#include "wickerlane/api/WLTypes.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane {

/// The three arguments of a C handler that calls a C++ handler; of a null one the function is null.
template <class... Arguments>
struct CHandler {
    void (*function)(void *context, Arguments...) = nullptr;
    void *context = nullptr;
    WLReleaseContext release = nullptr;

    explicit CHandler(Handler<void(Arguments...)> handler) {
        using Held = Handler<void(Arguments...)>;
        if (!handler)
            return;
        function = [](void *held, Arguments... arguments) { (*static_cast<Held *>(held))(arguments...); };
        context = new Held(std::move(handler));
        release = [](void *held) { delete static_cast<Held *>(held); };
    }
};

} // namespace wickerlane

#endif

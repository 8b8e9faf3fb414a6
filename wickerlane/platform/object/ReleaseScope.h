// Release scopes: how borrowed results stay alive long enough.
#ifndef WICKERLANE_PLATFORM_OBJECT_RELEASESCOPE_H
#define WICKERLANE_PLATFORM_OBJECT_RELEASESCOPE_H

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// While it lives, it is the thread's current scope: objects handed to autorelease() live until it ends.
/// Scopes nest and end in reverse order, on the thread that opened them. A thread that opens none has one for
/// its whole life; threads of an application's own that loop over calls should open one for each turn.
class WL_EXPORT ReleaseScope {
public:
    ReleaseScope() noexcept;
    ~ReleaseScope();
    ReleaseScope(const ReleaseScope &) = delete;
    ReleaseScope &operator=(const ReleaseScope &) = delete;

    /// Ends the scope now and passes one object on to the scope outside it: the way to return a borrowed
    /// result from a function that cleans up after itself. Null gives null.
    template <class T>
    [[nodiscard]] T *handOver(T *object) {
        return static_cast<T *>(handOverObject(object));
    }

private:
    Object *handOverObject(Object *object);
    void end() noexcept;

    std::size_t mark;
    bool open = true;
};

/// Hands an owned object to the current scope and returns it borrowed. Null gives null.
WL_EXPORT Object *autoreleaseObject(Object *owned);

template <class T>
T *autorelease(Ref<T> owned) {
    return static_cast<T *>(autoreleaseObject(owned.leak()));
}

} // namespace wickerlane

#endif

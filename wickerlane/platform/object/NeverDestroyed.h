// Process-wide state, which is never destroyed: threads may still use it while the process exits.
#ifndef WICKERLANE_PLATFORM_OBJECT_NEVERDESTROYED_H
#define WICKERLANE_PLATFORM_OBJECT_NEVERDESTROYED_H

#include <new>
#include <utility>

namespace wickerlane {

/// Holds a value in place and never destroys it:
///
///     static NeverDestroyed<Registry> registry;
///     registry->add(...);
template <class T>
class NeverDestroyed {
public:
    template <class... Arguments>
    explicit NeverDestroyed(Arguments &&...arguments) {
        new (storage) T(std::forward<Arguments>(arguments)...);
    }
    NeverDestroyed(const NeverDestroyed &) = delete;
    NeverDestroyed &operator=(const NeverDestroyed &) = delete;

    [[nodiscard]] T &get() noexcept { return *std::launder(reinterpret_cast<T *>(storage)); }
    T &operator*() noexcept { return get(); }
    T *operator->() noexcept { return &get(); }

private:
    alignas(T) unsigned char storage[sizeof(T)];
};

} // namespace wickerlane

#endif

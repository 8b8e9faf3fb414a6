// Initialising something once.
#ifndef WICKERLANE_PLATFORM_QUEUE_ONCE_H
#define WICKERLANE_PLATFORM_QUEUE_ONCE_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Runs an initialiser once per object of this type, which must have static storage. Callers meanwhile wait.
/// An initialiser that throws has not run: the next caller tries again. One that calls run() on the same
/// object waits for itself and never returns.
class WL_EXPORT Once {
public:
    constexpr Once() noexcept = default;
    template <class Callable>
    void run(Callable &&callable) {
        if (state.load(std::memory_order_acquire) != done)
            runSlowly(const_cast<void *>(static_cast<const void *>(std::addressof(callable))),
                      [](void *held) { (*static_cast<std::remove_reference_t<Callable> *>(held))(); });
    }

private:
    // While it runs, the upper bits say in which process: see forkGeneration().
    static constexpr std::uint32_t untouched = 0, running = 1, awaited = 2, done = 3;
    static constexpr std::uint32_t generationShift = 2;
    void runSlowly(void *callable, void (*invoke)(void *));
    void finish(std::uint32_t outcome) noexcept;

    std::atomic<std::uint32_t> state{untouched};
};

} // namespace wickerlane

#endif

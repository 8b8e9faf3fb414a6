// A counting semaphore.
#ifndef WICKERLANE_PLATFORM_QUEUE_SEMAPHORE_H
#define WICKERLANE_PLATFORM_QUEUE_SEMAPHORE_H

#include <chrono>
#include <optional>

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// A counting semaphore. Thread-safe. What a thread did before a signal is seen by the thread whose wait it
/// ends.
class WL_EXPORT Semaphore : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<Semaphore> create(std::uint32_t count);
    void signal() noexcept;
    void wait() noexcept;
    /// False when the time has passed without a signal; a time of zero or less only looks.
    [[nodiscard]] bool wait(std::chrono::nanoseconds limit) noexcept;

private:
    explicit Semaphore(std::uint32_t count) noexcept : state(count) {}
    bool takeUntil(std::optional<std::chrono::steady_clock::time_point> deadline) noexcept;

    // The count in the lower half, the number of waiting threads in the upper one: a signal changes and reads
    // both at once and then touches the object no more, so that the thread it wakes may release the last
    // reference.
    std::atomic<std::uint64_t> state;
};

} // namespace wickerlane

#endif

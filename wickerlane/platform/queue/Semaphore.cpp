#include "wickerlane/platform/queue/Semaphore.h"

#include <bit>

#include "wickerlane/platform/queue/BlockingRegion.h"
#include "wickerlane/platform/queue/Futex.h"

namespace wickerlane {

constinit const Class Semaphore::classInfo{"Semaphore", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(Semaphore);

namespace {

constexpr std::uint64_t oneWaiter = std::uint64_t{1} << 32;
static_assert(std::endian::native == std::endian::little, "the count is the word at the state's address");

constexpr std::uint32_t countIn(std::uint64_t state) {
    return static_cast<std::uint32_t>(state);
}

// Takes one from the count, if there is one, and `waiters` along with it.
bool take(std::atomic<std::uint64_t> &state, std::uint64_t waiters) noexcept {
    std::uint64_t seen = state.load(std::memory_order_relaxed);
    while (countIn(seen) != 0)
        if (state.compare_exchange_weak(seen, seen - 1 - waiters, std::memory_order_acquire))
            return true;
    return false;
}

} // namespace

Ref<Semaphore> Semaphore::create(std::uint32_t count) {
    return Ref<Semaphore>::adopt(new Semaphore(count));
}

void Semaphore::signal() noexcept {
    if (state.fetch_add(1, std::memory_order_release) >= oneWaiter)
        futexWake(&state, 1);
}

bool Semaphore::takeUntil(std::optional<Clock::time_point> deadline) noexcept {
    BlockingRegion region;
    state.fetch_add(oneWaiter, std::memory_order_relaxed);
    while (!take(state, oneWaiter)) {
        if (futexWait(&state, 0, deadline))
            continue;
        // Stops waiting, unless a signal came with the deadline.
        std::uint64_t seen = state.load(std::memory_order_relaxed);
        while (countIn(seen) == 0)
            if (state.compare_exchange_weak(seen, seen - oneWaiter, std::memory_order_relaxed))
                return false;
    }
    return true;
}

void Semaphore::wait() noexcept {
    if (!take(state, 0))
        takeUntil(std::nullopt);
}

bool Semaphore::wait(std::chrono::nanoseconds limit) noexcept {
    return take(state, 0) || (limit.count() > 0 && takeUntil(timeAfter(limit)));
}

} // namespace wickerlane

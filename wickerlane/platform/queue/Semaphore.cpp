#include "wickerlane/platform/queue/Semaphore.h"

#include "wickerlane/platform/queue/BlockingRegion.h"
#include "wickerlane/platform/queue/Futex.h"

namespace wickerlane {

constinit const Class Semaphore::classInfo{"Semaphore", &Object::classInfo, nullptr};

Ref<Semaphore> Semaphore::create(std::uint32_t count) {
    return Ref<Semaphore>::adopt(new Semaphore(count));
}

// Whoever signals adds to the count before looking for waiters, and whoever waits says so before looking at
// the count, in one total order: one of the two sees the other.
void Semaphore::signal() noexcept {
    count.fetch_add(1, std::memory_order_seq_cst);
    if (waiters.load(std::memory_order_seq_cst) != 0)
        futexWake(&count, 1);
}

bool Semaphore::take() noexcept {
    std::uint32_t seen = count.load(std::memory_order_seq_cst);
    while (seen != 0)
        if (count.compare_exchange_weak(seen, seen - 1, std::memory_order_seq_cst))
            return true;
    return false;
}

bool Semaphore::takeUntil(std::optional<Clock::time_point> deadline) noexcept {
    BlockingRegion region;
    waiters.fetch_add(1, std::memory_order_seq_cst);
    bool taken = false;
    while (!(taken = take()) && futexWait(count, 0, deadline))
        ;
    waiters.fetch_sub(1, std::memory_order_seq_cst);
    // A signal may have come with the deadline; its wake was this thread's.
    return taken || take();
}

void Semaphore::wait() noexcept {
    if (!take())
        takeUntil(std::nullopt);
}

bool Semaphore::wait(std::chrono::nanoseconds limit) noexcept {
    return take() || (limit.count() > 0 && takeUntil(timeAfter(limit)));
}

} // namespace wickerlane

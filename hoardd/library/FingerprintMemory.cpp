#include "hoardd/library/FingerprintMemory.h"

#include <utility>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t maxKept = std::size_t{3} << 19; // 36 MB

} // namespace

struct FingerprintMemory::State {
    explicit State(std::chrono::nanoseconds time) : keptFor(time) {}

    const std::chrono::nanoseconds keptFor;
    Mutex mutex;
    Version version WL_GUARDED_BY(mutex) = 0;
    std::optional<Known> kept WL_GUARDED_BY(mutex);
    bool isWaiting WL_GUARDED_BY(mutex) = false;
    Clock::time_point due WL_GUARDED_BY(mutex);
};

FingerprintMemory::FingerprintMemory(std::chrono::nanoseconds keptFor)
    : state(std::make_shared<State>(keptFor)) {
}

FingerprintMemory::Version FingerprintMemory::version() const {
    const MutexLock lock(state->mutex);
    return state->version;
}

void FingerprintMemory::noteChange() {
    const MutexLock lock(state->mutex);
    ++state->version;
}

std::optional<FingerprintMemory::Known> FingerprintMemory::take() {
    const MutexLock lock(state->mutex);
    auto taken = std::exchange(state->kept, std::nullopt);
    if (taken && taken->version != state->version)
        return std::nullopt;
    return taken;
}

void FingerprintMemory::keep(Known known) {
    {
        const MutexLock lock(state->mutex);
        if (known.version != state->version || known.fingerprints.size() > maxKept)
            return;
        state->kept = std::move(known);
        state->due = Clock::now() + std::chrono::duration_cast<Clock::duration>(state->keptFor);
        if (std::exchange(state->isWaiting, true))
            return;
    }
    WorkQueue::global()->after(state->keptFor, [kept = state] { dropWhenDue(kept); });
}

void FingerprintMemory::forget() {
    const MutexLock lock(state->mutex);
    state->kept.reset();
}

void FingerprintMemory::dropWhenDue(const std::shared_ptr<State> &state) {
    Clock::duration left{};
    {
        const MutexLock lock(state->mutex);
        left = state->kept ? state->due - Clock::now() : Clock::duration::zero();
        if (left <= Clock::duration::zero()) {
            state->isWaiting = false;
            state->kept.reset();
            return;
        }
    }
    WorkQueue::global()->after(left, [state] { dropWhenDue(state); });
}

} // namespace wickerlane::hoardd

#include "wickerlane/platform/queue/Once.h"

#include <climits>

#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/platform/queue/BlockingRegion.h"
#include "wickerlane/platform/queue/Futex.h"

namespace wickerlane {

void Once::runSlowly(void *callable, void (*invoke)(void *)) {
    watchForks();
    const std::uint32_t generation = forkGeneration();
    for (;;) {
        std::uint32_t seen = state.load(std::memory_order_acquire);
        // Nothing will end a run that a thread of the parent process had begun before a fork.
        const bool isFree = seen == untouched || (seen != done && seen >> generationShift != generation);
        if (isFree) {
            if (!state.compare_exchange_strong(seen, generation << generationShift | running,
                                               std::memory_order_acquire))
                continue;
            try {
                invoke(callable);
            } catch (...) {
                finish(untouched);
                throw;
            }
            return finish(done);
        }
        if (seen == done)
            return;
        const std::uint32_t awaitedHere = generation << generationShift | awaited;
        if (seen != awaitedHere &&
            !state.compare_exchange_strong(seen, awaitedHere, std::memory_order_relaxed))
            continue;
        BlockingRegion region;
        futexWait(&state, awaitedHere);
    }
}

void Once::finish(std::uint32_t outcome) noexcept {
    if ((state.exchange(outcome, std::memory_order_release) & awaited) == awaited)
        futexWake(&state, INT_MAX);
}

} // namespace wickerlane

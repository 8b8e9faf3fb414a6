#include "wickerlane/platform/queue/Once.h"

#include <climits>

#include "wickerlane/platform/queue/BlockingRegion.h"
#include "wickerlane/platform/queue/Futex.h"

namespace wickerlane {

void Once::runSlowly(void *callable, void (*invoke)(void *)) {
    for (;;) {
        std::uint32_t seen = untouched;
        if (state.compare_exchange_strong(seen, running, std::memory_order_acquire)) {
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
        if (seen == running && !state.compare_exchange_strong(seen, awaited, std::memory_order_relaxed))
            continue;
        BlockingRegion region;
        futexWait(&state, awaited);
    }
}

void Once::finish(std::uint32_t outcome) noexcept {
    if (state.exchange(outcome, std::memory_order_release) == awaited)
        futexWake(&state, INT_MAX);
}

} // namespace wickerlane

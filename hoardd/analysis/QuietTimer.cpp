#include "hoardd/analysis/QuietTimer.h"

#include <algorithm>
#include <utility>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

using Clock = std::chrono::steady_clock;

struct QuietTimer::State {
    explicit State(Handler<void()> whenQuiet) : quiet(std::move(whenQuiet)) {}

    const Handler<void()> quiet;
    Mutex mutex;
    bool isWaiting WL_GUARDED_BY(mutex) = false;
    Clock::time_point due WL_GUARDED_BY(mutex);
};

QuietTimer::QuietTimer(Handler<void()> whenQuiet) : state(std::make_shared<State>(std::move(whenQuiet))) {
}

void QuietTimer::startAfter(std::chrono::nanoseconds delay) {
    {
        const MutexLock lock(state->mutex);
        state->due = std::max(state->due, Clock::now() + std::chrono::duration_cast<Clock::duration>(delay));
        if (std::exchange(state->isWaiting, true))
            return;
    }
    // Never called from here: the caller may hold locks.
    WorkQueue::global()->after(delay, [state = state] { wait(state); });
}

void QuietTimer::wait(const std::shared_ptr<State> &state) {
    Clock::duration left{};
    {
        const MutexLock lock(state->mutex);
        left = state->due - Clock::now();
        if (left <= Clock::duration::zero())
            state->isWaiting = false;
    }
    if (left > Clock::duration::zero())
        WorkQueue::global()->after(left, [state] { wait(state); });
    else
        state->quiet();
}

} // namespace wickerlane::hoardd

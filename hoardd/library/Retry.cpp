#include "hoardd/library/Retry.h"

#include <algorithm>
#include <utility>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

struct Retry::State {
    State(Pause first, Pause max) : firstPause(first), maxPause(max), next(first) {}

    const Pause firstPause, maxPause;
    Mutex mutex;
    Handler<void()> ask WL_GUARDED_BY(mutex);
    Pause next WL_GUARDED_BY(mutex);
    bool isWaiting WL_GUARDED_BY(mutex) = false;
};

Retry::Retry(Pause firstPause, Pause maxPause) : state(std::make_shared<State>(firstPause, maxPause)) {
}

void Retry::whenDue(Handler<void()> ask) {
    const MutexLock lock(state->mutex);
    state->ask = std::move(ask);
}

void Retry::noteFailure() {
    const MutexLock lock(state->mutex);
    if (!state->ask || std::exchange(state->isWaiting, true))
        return;
    const Pause pause = std::exchange(state->next, std::min(state->next * 2, state->maxPause));
    WorkQueue::global()->after(pause, [state = state] { fire(state); });
}

void Retry::fire(const std::shared_ptr<State> &state) {
    const MutexLock lock(state->mutex);
    state->isWaiting = false;
    if (state->ask)
        state->ask();
}

void Retry::noteSuccess() {
    const MutexLock lock(state->mutex);
    state->next = state->firstPause;
}

void Retry::stop() {
    const MutexLock lock(state->mutex);
    state->ask = {};
}

} // namespace wickerlane::hoardd

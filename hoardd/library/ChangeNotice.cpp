#include "hoardd/library/ChangeNotice.h"

#include <utility>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

struct ChangeNotice::State {
    State(Post posting, std::chrono::nanoseconds resting) : post(std::move(posting)), rest(resting) {}

    const Post post;
    const std::chrono::nanoseconds rest;
    Mutex mutex;
    bool isResting WL_GUARDED_BY(mutex) = false;
    /// There was a change since it last posted.
    bool isDue WL_GUARDED_BY(mutex) = false;
};

ChangeNotice::ChangeNotice(Post post, std::chrono::nanoseconds rest)
    : state(std::make_shared<State>(std::move(post), rest)) {
}

void ChangeNotice::noteChange() {
    {
        const MutexLock lock(state->mutex);
        state->isDue = true;
        if (std::exchange(state->isResting, true))
            return;
    }
    post(state);
}

// While it rests, or is about to.
void ChangeNotice::post(const std::shared_ptr<State> &state) {
    {
        const MutexLock lock(state->mutex);
        state->isResting = std::exchange(state->isDue, false);
        if (!state->isResting)
            return;
    }
    state->post();
    WorkQueue::global()->after(state->rest, [state] { post(state); });
}

void ChangeNotice::flush() {
    {
        const MutexLock lock(state->mutex);
        if (!std::exchange(state->isDue, false))
            return;
    }
    state->post();
}

} // namespace wickerlane::hoardd

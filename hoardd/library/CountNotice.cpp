#include "hoardd/library/CountNotice.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/protocol/CountNotification.h"

namespace wickerlane::hoardd {

using namespace std::chrono_literals;

struct CountNotice::State {
    State(Post posting, std::chrono::nanoseconds resting) : post(std::move(posting)), rest(resting) {}

    const Post post;
    const std::chrono::nanoseconds rest;
    Mutex mutex;
    bool isResting WL_GUARDED_BY(mutex) = false;
    /// There was a change since it last posted.
    bool isDue WL_GUARDED_BY(mutex) = false;
};

CountNotice::CountNotice()
    : CountNotice(
          [] {
              if (!postNotification(RZPhotosAndVideosCountNotificationName))
                  JX_LOG(JXLogLevelError, JXGenericLog, "can't say that the counts have changed: %s",
                         std::strerror(errno));
          },
          100ms) {
}

CountNotice::CountNotice(Post post, std::chrono::nanoseconds rest)
    : state(std::make_shared<State>(std::move(post), rest)) {
}

void CountNotice::noteChange() {
    {
        const MutexLock lock(state->mutex);
        state->isDue = true;
        if (std::exchange(state->isResting, true))
            return;
    }
    post(state);
}

// While it rests, or is about to.
void CountNotice::post(const std::shared_ptr<State> &state) {
    {
        const MutexLock lock(state->mutex);
        state->isResting = std::exchange(state->isDue, false);
        if (!state->isResting)
            return;
    }
    state->post();
    WorkQueue::global()->after(state->rest, [state] { post(state); });
}

void CountNotice::flush() {
    {
        const MutexLock lock(state->mutex);
        if (!std::exchange(state->isDue, false))
            return;
    }
    state->post();
}

} // namespace wickerlane::hoardd

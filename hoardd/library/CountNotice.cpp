#include "hoardd/library/CountNotice.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>

#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/protocol/CountNotification.h"

namespace wickerlane::hoardd {

using namespace std::chrono_literals;

struct CountNotice::State {
    State(Post posting, std::chrono::nanoseconds resting) : post(std::move(posting)), rest(resting) {}

    const Post post;
    const std::chrono::nanoseconds rest;
    std::mutex lock;
    bool isResting = false;
    bool isDue = false; // there was a change since it last posted
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
        const std::lock_guard guard(state->lock);
        state->isDue = true;
        if (std::exchange(state->isResting, true))
            return;
    }
    post(state);
}

// While it rests, or is about to.
void CountNotice::post(const std::shared_ptr<State> &state) {
    {
        const std::lock_guard guard(state->lock);
        state->isResting = std::exchange(state->isDue, false);
        if (!state->isResting)
            return;
    }
    state->post();
    WorkQueue::global()->after(state->rest, [state] { post(state); });
}

void CountNotice::flush() {
    {
        const std::lock_guard guard(state->lock);
        if (!std::exchange(state->isDue, false))
            return;
    }
    state->post();
}

} // namespace wickerlane::hoardd

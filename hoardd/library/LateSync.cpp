#include "hoardd/library/LateSync.h"

#include <atomic>
#include <chrono>
#include <utility>

#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/BlockingRegion.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

namespace {

// Enough that one sync serves many files; a crash costs no more than this time's work being done again.
constexpr std::chrono::seconds pause{2};

} // namespace

struct LateSync::State {
    Result<> sync() {
        const MutexLock lock(mutex);
        return handler ? handler(round.fetch_add(1)) : Result<>();
    }

    std::atomic<std::int64_t> round{1};
    std::atomic<bool> isWaiting{false};
    Mutex mutex; // held while files are synced
    Handler<Result<>(std::int64_t)> handler WL_GUARDED_BY(mutex);
};

LateSync::LateSync() : state(std::make_shared<State>()) {
}

void LateSync::whenDue(Handler<Result<>(std::int64_t)> sync) {
    const MutexLock lock(state->mutex);
    state->handler = std::move(sync);
}

std::int64_t LateSync::round() const noexcept {
    return state->round;
}

void LateSync::note() {
    if (state->isWaiting.exchange(true))
        return;
    WorkQueue::global()->after(pause, [state = state] {
        const BlockingRegion region;
        state->isWaiting = false;
        if (const auto synced = state->sync(); !synced)
            JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't sync files: %s", synced.error().text.c_str());
    });
}

Result<> LateSync::syncNow() {
    return state->sync();
}

void LateSync::stop() {
    const MutexLock lock(state->mutex);
    state->handler = {};
}

} // namespace wickerlane::hoardd

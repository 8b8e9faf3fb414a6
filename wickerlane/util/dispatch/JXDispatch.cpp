#include "wickerlane/util/dispatch/JXDispatch.h"

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/Error.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

namespace {

Handler<void()> guarded(Handler<void()> callback) {
    if (!callback)
        return nullptr;
    return [callback = std::move(callback)] {
        ReleaseScope scope;
        try {
            callback();
        } catch (const Exception &exception) {
            consoleLog("%@", exception.description());
        }
    };
}

// Truncated, and clamped to the range of the clock; not-a-number is no delay.
std::chrono::nanoseconds nanosecondsIn(double seconds) {
    const double nanoseconds = seconds * 1e9;
    if (!(nanoseconds > 0))
        return std::chrono::nanoseconds::zero();
    constexpr auto max = std::chrono::nanoseconds::max();
    return nanoseconds < static_cast<double>(max.count())
               ? std::chrono::nanoseconds(static_cast<std::int64_t>(nanoseconds))
               : max;
}

} // namespace

void JXDispatch_sync(WorkQueue *queue, Handler<void()> callback) {
    if (queue != nullptr)
        queue->sync(guarded(std::move(callback)));
}

void JXDispatch_async(WorkQueue *queue, Handler<void()> callback) {
    if (queue != nullptr)
        queue->async(guarded(std::move(callback)));
}

void JXDispatchOnMainAfter(Handler<void()> callback, double delay) {
    WorkQueue::main()->after(nanosecondsIn(delay), guarded(std::move(callback)));
}

long JXDispatchSemaphoreWaitForever(Semaphore *semaphore) {
    semaphore->wait(); // returns after a signal only
    return 0;
}

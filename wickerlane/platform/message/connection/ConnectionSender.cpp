#include "wickerlane/platform/message/connection/ConnectionSender.h"

#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {

ConnectionSender::Step ConnectionSender::next(std::size_t waitingHandlers) const noexcept {
    constexpr std::size_t maxGatheredBytes = 64 * 1024;
    constexpr std::size_t maxHandlersOfDirectSends = 4;
    if (!isDue())
        return Step::nothing;
    if (runningHandlers != 0 && queue.gatheredBytes() < maxGatheredBytes)
        return Step::gather;
    return waitingHandlers > maxHandlersOfDirectSends ? Step::defer : Step::send;
}

void ConnectionSender::send(Mutex &mutex, int socket, int flags, std::uint64_t upTo) {
    if (queue.flush(mutex, socket, flags, upTo) == SendQueue::Outcome::failed)
        broken = true;
    else if (!queue.isEmpty())
        deferred = true; // the socket is full, or others have appended meanwhile
}

bool ConnectionSender::exceedsLimit() const noexcept {
    return queue.gatheredBytes() > MessageLimits::gatheredBytes;
}

bool ConnectionSender::addBarrier(const Handler<void()> &handler) {
    if (queue.isEmpty())
        return false;
    barriers.push_back({queue.appended(), handler});
    return true;
}

void ConnectionSender::runPassedBarriers(WorkQueue &target) {
    auto next = barriers.begin();
    for (; next != barriers.end() && next->position <= queue.sent(); ++next)
        target.async(std::move(next->handler));
    barriers.erase(barriers.begin(), next);
}

std::vector<Handler<void()>> ConnectionSender::takeBarriers() {
    std::vector<Handler<void()>> handlers;
    for (Barrier &barrier : std::exchange(barriers, {}))
        handlers.push_back(std::move(barrier.handler));
    return handlers;
}

} // namespace wickerlane

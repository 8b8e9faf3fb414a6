// Who is served next.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_PEERTURNS_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_PEERTURNS_H

#include <vector>

#include "wickerlane/platform/message/listener/ListenerPeer.h"
#include "wickerlane/platform/queue/AdaptiveMutex.h"

namespace wickerlane {

/// Has the messages of each peer handled one at a time, in their order, and those of several peers in
/// parallel, on threads of the global queue. The processes take turns, and so do the peers of each; a turn is
/// a few messages. One process never has all threads, and a peer that leaves too much unread has no turn
/// until it reads. Thread-safe.
class PeerTurns final : public Object {
public:
    PeerTurns(Handler<void(ReceivedMessage *)> handler, const MessageLimits &chosen)
        : messageHandler(std::move(handler)), limits(chosen) {}

    void add(ListenerPeer &peer, std::vector<Ref<ReceivedMessage>> messages) WL_EXCLUDES(mutex);
    /// Whether none of its messages is handled or waits. So it stays until add(), of the intake thread.
    [[nodiscard]] bool isIdle(const ListenerPeer &peer) WL_EXCLUDES(mutex);
    /// The peer may have read what it had left unread.
    void resume(ListenerPeer &peer) WL_EXCLUDES(mutex);
    /// What it sent before is still handled.
    void disconnected(ListenerPeer &peer) WL_EXCLUDES(mutex);

private:
    void schedule(ListenerPeer &peer) WL_REQUIRES(mutex);
    void getInLine(ProcessShare &process) WL_REQUIRES(mutex);
    [[nodiscard]] bool needsThread() WL_REQUIRES(mutex);
    void startThread();
    void run() WL_EXCLUDES(mutex);

    const Handler<void(ReceivedMessage *)> messageHandler;
    const MessageLimits limits;
    AdaptiveMutex mutex;
    std::deque<Ref<ProcessShare>> line WL_GUARDED_BY(mutex); // processes with peers that are ready
    std::size_t threads WL_GUARDED_BY(mutex) = 0;            // at work, or to come
    std::size_t threadsToCome WL_GUARDED_BY(mutex) = 0;
};

} // namespace wickerlane

#endif

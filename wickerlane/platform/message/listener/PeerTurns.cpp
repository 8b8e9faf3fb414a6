#include "wickerlane/platform/message/listener/PeerTurns.h"

#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane {
namespace {

constexpr int messagesInTurn = 16;

} // namespace

void PeerTurns::add(ListenerPeer &peer, std::vector<Ref<ReceivedMessage>> messages) {
    {
        const AdaptiveMutexLock lock(mutex);
        peer.turn.messages.insert(peer.turn.messages.end(), std::move_iterator(messages.begin()),
                                  std::move_iterator(messages.end()));
        schedule(peer);
        if (!needsThread())
            return;
    }
    startThread();
}

bool PeerTurns::isIdle(const ListenerPeer &peer) {
    const AdaptiveMutexLock lock(mutex);
    return !peer.turn.isUnderWay && peer.turn.messages.empty();
}

void PeerTurns::resume(ListenerPeer &peer) {
    {
        const AdaptiveMutexLock lock(mutex);
        schedule(peer);
        if (!needsThread())
            return;
    }
    startThread();
}

void PeerTurns::disconnected(ListenerPeer &peer) {
    {
        const AdaptiveMutexLock lock(mutex);
        peer.turn.isGone = true;
    }
    resume(peer);
}

void PeerTurns::schedule(ListenerPeer &peer) {
    if (peer.turn.messages.empty() || peer.turn.isUnderWay || (!peer.turn.isGone && peer.mustReadFirst()))
        return;
    peer.turn.isUnderWay = true;
    peer.process->turns.ready.emplace_back(&peer);
    getInLine(*peer.process);
}

void PeerTurns::getInLine(ProcessShare &process) {
    if (process.turns.isInLine || process.turns.ready.empty() ||
        process.turns.running >= limits.turnsOfProcess)
        return;
    process.turns.isInLine = true;
    line.emplace_back(&process);
}

bool PeerTurns::needsThread() {
    if (line.size() <= threadsToCome || threads >= limits.turns)
        return false;
    ++threads;
    ++threadsToCome;
    return true;
}

void PeerTurns::startThread() {
    WorkQueue::global()->async([self = Ref<PeerTurns>(this)] { self->run(); });
}

void PeerTurns::run() {
    AdaptiveMutexLock lock(mutex);
    --threadsToCome;
    while (!line.empty()) {
        const Ref<ProcessShare> process = std::move(line.front());
        line.pop_front();
        const Ref<ListenerPeer> peer = std::move(process->turns.ready.front());
        process->turns.ready.pop_front();
        process->turns.isInLine = false;
        ++process->turns.running;
        getInLine(*process);
        bool startsAnother = needsThread();
        for (int i = 0; i < messagesInTurn && !peer->turn.messages.empty() &&
                        (peer->turn.isGone || !peer->mustReadFirst());
             ++i) {
            Ref<ReceivedMessage> message = std::move(peer->turn.messages.front());
            peer->turn.messages.pop_front();
            lock.unlock();
            if (std::exchange(startsAnother, false))
                startThread();
            {
                const ReleaseScope scope;
                messageHandler(message.get());
                message = nullptr;
            }
            lock.lock();
        }
        if (startsAnother) {
            lock.unlock();
            startThread();
            lock.lock();
        }
        --process->turns.running;
        peer->turn.isUnderWay = false;
        schedule(*peer);
        getInLine(*process);
    }
    --threads;
}

} // namespace wickerlane

#include "wickerlane/platform/message/listener/ListenerPeer.h"

#include <sys/socket.h>

#include "wickerlane/platform/message/listener/ListenerCore.h"

namespace wickerlane {

constinit const Class MessagePeer::classInfo{"MessagePeer", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessagePeer);

namespace {

// How long, and until how much of it there is, answers are gathered.
constexpr std::chrono::milliseconds gatherTime{1};
constexpr std::size_t maxGatheredBytes = 64 * 1024;

} // namespace

ListenerPeer::ListenerPeer(ListenerCore *owner, UniqueFd connected, PeerProcess peer, Ref<UserShare> user)
    : share(std::move(user)), listener(owner), descriptor(connected.get()), process(std::move(peer)),
      socket(std::move(connected)) {
}

ListenerPeer::~ListenerPeer() = default;

// Sending

void ListenerPeer::send(MessageDictionary *message) {
    MessageEncoder frame;
    if (frame.encode(FrameKind::message, 0, message) == nullptr)
        transmit(frame);
}

void ListenerPeer::reply(std::uint64_t id, MessageDictionary *answer) {
    MessageEncoder frame;
    if (const char *reason = frame.encode(FrameKind::reply, id, answer))
        frame.encodeError(id, reason);
    transmit(frame);
}

void ListenerPeer::replyError(std::uint64_t id, std::string_view description, std::int64_t kind) {
    MessageEncoder frame;
    frame.encodeError(id, description, kind);
    transmit(frame);
}

void ListenerPeer::transmit(const MessageEncoder &frame) {
    const MutexLock lock(mutex);
    if (state != State::open)
        return;
    const std::uint64_t before = queue.appended();
    queue.append(frame);
    const std::size_t added = queue.appended() - before;
    bytesToSend.fetch_add(added, std::memory_order_relaxed);
    const std::size_t ofUser = share->queuedBytes.fetch_add(added, std::memory_order_relaxed);
    if (ofUser > listener->limits().unreadBytes) {
        breakOff();
        return notifyIntake();
    }
    if (gatheringThread == std::this_thread::get_id() && queue.queuedBytes() < maxGatheredBytes)
        return flushSoon();
    flush();
}

void ListenerPeer::startGathering(bool handlersMayBlock) {
    const MutexLock lock(mutex);
    gatheringThread = std::this_thread::get_id();
    gathersByTimer = handlersMayBlock;
}

void ListenerPeer::stopGathering() {
    const MutexLock lock(mutex);
    gatheringThread = {};
}

void ListenerPeer::sendGathered() {
    const MutexLock lock(mutex);
    flush();
}

void ListenerPeer::flushSoon() {
    if (!gathersByTimer || std::exchange(isFlushDue, true))
        return;
    WorkQueue::global()->after(gatherTime, [self = Ref<ListenerPeer>(this)] {
        const MutexLock lock(self->mutex);
        self->isFlushDue = false;
        self->flush();
    });
}

// Sends all that waits, unless another thread is at it or the socket is full.
void ListenerPeer::flush() {
    if (state == State::broken || state == State::closed || isBlocked || queue.isEmpty() ||
        queue.isBeingSent())
        return;
    SendQueue::Outcome outcome = SendQueue::Outcome::sent;
    while (outcome == SendQueue::Outcome::sent && !queue.isEmpty() && state != State::closed) {
        const std::uint64_t before = queue.sent();
        outcome = queue.flush(mutex, descriptor, MSG_DONTWAIT, queue.appended());
        bytesSent(queue.sent() - before);
    }
    if (state == State::closed)
        return closeSocket();
    isBlocked = outcome == SendQueue::Outcome::blocked;
    if (state == State::ending && queue.isEmpty())
        shutdown(descriptor, SHUT_RDWR);
    if (outcome == SendQueue::Outcome::failed)
        breakOff();
    if (((isBlocked || state == State::broken) && !isInTurn) || share->isHeldBack.load())
        notifyIntake();
}

// Ending

void ListenerPeer::cancel() {
    const MutexLock lock(mutex);
    if (state != State::open)
        return;
    state = State::ending;
    if (queue.isEmpty())
        shutdown(descriptor, SHUT_RDWR);
}

void ListenerPeer::breakOff() {
    state = State::broken;
    shutdown(descriptor, SHUT_RDWR);
}

void ListenerPeer::close() {
    const MutexLock lock(mutex);
    if (state == State::closed)
        return;
    state = State::closed;
    shutdown(descriptor, SHUT_RDWR);
    if (!queue.isBeingSent()) // else the thread that sends does the rest
        closeSocket();
}

void ListenerPeer::closeSocket() {
    bytesSent(queue.queuedBytes());
    queue = SendQueue();
    socket.reset();
}

// The intake thread

void ListenerPeer::beginTurn(bool hasRoom) {
    const MutexLock lock(mutex);
    isInTurn = true;
    if (hasRoom) {
        isBlocked = false;
        flush();
    }
}

ListenerPeer::Interest ListenerPeer::endTurn() {
    const MutexLock lock(mutex);
    isInTurn = false;
    return {.wantsRoom = isBlocked, .isBroken = state == State::broken};
}

void ListenerPeer::notifyIntake() {
    listener->reviewPeers(share.get());
}

// Accounting

void ListenerPeer::bytesSent(std::size_t count) noexcept {
    bytesToSend.fetch_sub(count, std::memory_order_relaxed);
    share->queuedBytes.fetch_sub(count, std::memory_order_relaxed);
}

void ListenerPeer::requestAnswered() {
    unansweredRequests.fetch_sub(1);
    if (share->isHeldBack.load())
        notifyIntake();
}

void ListenerPeer::messageReleased(std::size_t length) {
    share->receivedBytes.fetch_sub(length);
    if (share->isHeldBack.load())
        notifyIntake();
}

} // namespace wickerlane

#include <sys/socket.h>

#include "wickerlane/platform/message/listener/ListenerCore.h"

namespace wickerlane {

constinit const Class MessagePeer::classInfo{"MessagePeer", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessagePeer);

namespace {
thread_local constinit ListenerPeer::Gathering *gathering = nullptr;
thread_local constinit const ListenerPeer *served = nullptr;
} // namespace

ListenerPeer::Serving::Serving(const ListenerPeer *peer) noexcept {
    served = peer;
}

ListenerPeer::Serving::~Serving() {
    served = nullptr;
}

ListenerPeer::Gathering::Gathering(ListenerPeer *peer) noexcept
    : gatheredFor(peer), outer(std::exchange(gathering, this)) {
}

ListenerPeer::Gathering::~Gathering() {
    gathering = outer;
    std::unique_lock lock(gatheredFor->mutex);
    gatheredFor->flush(lock);
}

ListenerPeer::~ListenerPeer() = default;

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
    std::unique_lock lock(mutex);
    if (closed || broken || ending)
        return;
    const std::uint64_t before = out.appended();
    out.append(frame);
    const std::size_t added = out.appended() - before;
    queuedBytes.fetch_add(added, std::memory_order_relaxed);
    const std::size_t queued = share->queuedBytes.fetch_add(added, std::memory_order_relaxed);
    if (queued > listener->limits().unreadBytes) {
        broken = true;
        shutdown(socket.get(), SHUT_RDWR);
        listener->attend(share.get());
        return;
    }
    if (gathering != nullptr && gathering->gatheredFor.get() == this) {
        constexpr std::chrono::microseconds moment{200};
        constexpr std::size_t enough = 64 * 1024;
        const auto now = std::chrono::steady_clock::now();
        if (gathering->since == std::chrono::steady_clock::time_point{})
            gathering->since = now;
        if (now - gathering->since < moment && out.queuedBytes() < enough)
            return;
        gathering->since = now;
    }
    flush(lock);
}

// Sends all that waits, unless another thread is at it or the socket is full.
void ListenerPeer::flush(std::unique_lock<std::mutex> &lock) {
    if (closed || broken || blocked || out.isEmpty() || out.isBeingSent())
        return;
    SendQueue::Outcome outcome = SendQueue::Outcome::sent;
    while (outcome == SendQueue::Outcome::sent && !out.isEmpty() && !closed) {
        const std::uint64_t before = out.sent();
        outcome = out.flush(lock, socket.get(), MSG_DONTWAIT, out.appended());
        sentBytes(out.sent() - before);
    }
    if (closed) {
        close();
        return;
    }
    if (outcome == SendQueue::Outcome::failed) {
        broken = true;
        shutdown(socket.get(), SHUT_RDWR);
    }
    blocked = outcome == SendQueue::Outcome::blocked;
    if (ending && out.isEmpty())
        shutdown(socket.get(), SHUT_RDWR);
    if ((blocked && served != this) || broken || share->held.load())
        listener->attend(share.get());
}

void ListenerPeer::cancel() {
    const std::lock_guard lock(mutex);
    if (closed)
        return;
    ending = true;
    if (out.isEmpty())
        shutdown(socket.get(), SHUT_RDWR);
}

// With the mutex held.
void ListenerPeer::close() {
    if (!closed) {
        closed = true;
        shutdown(socket.get(), SHUT_RDWR);
    }
    if (out.isBeingSent())
        return; // its thread comes here in the end
    sentBytes(out.queuedBytes());
    out = SendQueue();
    socket.reset();
}

void ListenerPeer::sentBytes(std::size_t count) noexcept {
    queuedBytes.fetch_sub(count, std::memory_order_relaxed);
    share->queuedBytes.fetch_sub(count, std::memory_order_relaxed);
}

void ListenerPeer::freed(std::size_t length) {
    share->receivedBytes.fetch_sub(length);
    if (share->held.load())
        listener->attend(share.get());
}

void ListenerPeer::answered() {
    unanswered.fetch_sub(1);
    if (share->held.load())
        listener->attend(share.get());
}

} // namespace wickerlane

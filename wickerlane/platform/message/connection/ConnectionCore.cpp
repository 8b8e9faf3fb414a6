#include "wickerlane/platform/message/connection/ConnectionCore.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/message/service/ServiceConnector.h"
#include "wickerlane/platform/message/wire/MessageDecoder.h"

namespace wickerlane {
namespace {

// With more replies due than this, a sender leaves the sending to the reader thread, so that what is sent
// meanwhile goes with it.
constexpr std::size_t gatherAbove = 4;
// How long, and until how much of it there is, what handlers of replies send is gathered.
constexpr std::chrono::milliseconds gatherTime{1};
constexpr std::size_t gatheredAtMost = 64 * 1024;
// How long nothing happens before the reader thread watches for incoming data that nobody waits for.
constexpr std::chrono::milliseconds quietTime{50};

} // namespace

// Held by the handlers of the replies that one read brought.
class ConnectionCore::Batch final : public Object {
public:
    Batch(ConnectionCore *owner, Session *of) : core(owner), session(of) {}
    ~Batch() override { core->endBatch(*session); }

private:
    const Ref<ConnectionCore> core;
    const Ref<Session> session;
};

ConnectionCore::ConnectionCore(const char *serviceName, WorkQueue *queue)
    : name(serviceName == nullptr ? "" : serviceName), target(queue != nullptr ? queue : WorkQueue::global()),
      session(makeRef<Session>()) {
}

void ConnectionCore::setEventHandler(Handler<void(MessageValue *)> handler) {
    const std::lock_guard lock(mutex);
    eventHandler = std::move(handler);
}

void ConnectionCore::setIdleTime(std::chrono::milliseconds time) {
    const std::lock_guard lock(mutex);
    idleTime = time;
}

void ConnectionCore::resume() {
    const std::lock_guard lock(mutex);
    if (state != State::suspended)
        return;
    state = State::disconnected;
    if (!session->out.isEmpty())
        start();
}

// Sending

void ConnectionCore::send(const MessageDictionary *message) {
    MessageEncoder frame;
    if (const char *reason = frame.encode(FrameKind::message, 0, message)) {
        consoleLog("A message to '%s' was not sent: %s", name.c_str(), reason);
        return;
    }
    Lock lock(mutex);
    if (state == State::invalid)
        return;
    session->out.append(frame);
    appended(lock);
}

void ConnectionCore::send(const MessageDictionary *message, WorkQueue *queue,
                          Handler<void(MessageValue *)> handler) {
    Ref<WorkQueue> replyQueue = queue != nullptr ? queue : target.get();
    MessageEncoder frame;
    Ref<MessageError> error;
    if (const char *reason = frame.encode(FrameKind::request, 0, message)) {
        error = MessageError::create(reason);
    } else {
        Lock lock(mutex);
        if (state != State::invalid) {
            frame.setID(session->pending.add(std::move(replyQueue), std::move(handler)));
            session->out.append(frame);
            appended(lock);
            return;
        }
        error = MessageError::connectionInvalid();
    }
    Deliveries deliveries;
    deliveries.push_back({std::move(replyQueue), std::move(handler), std::move(error)});
    deliver(std::move(deliveries));
}

Ref<MessageValue> ConnectionCore::sendSync(const MessageDictionary *message) {
    MessageEncoder frame;
    if (const char *reason = frame.encode(FrameKind::request, 0, message))
        return MessageError::create(reason);
    ReplyWaiter waiter;
    Lock lock(mutex);
    if (state == State::invalid)
        return MessageError::connectionInvalid();
    const Ref<Session> mine = session;
    frame.setID(mine->pending.add(&waiter));
    mine->out.append(frame);
    const std::uint64_t end = mine->out.appended();
    touch();
    while (waiter.reply == nullptr) {
        if (state == State::disconnected) {
            state = State::connecting;
            establish(lock);
        } else if (state == State::connected && !mine->broken && mine->out.sent() < end &&
                   !mine->out.isBeingSent()) {
            flush(lock, *mine, 0, end);
        } else if (state == State::connected && !mine->reading) {
            mine->watched = false;
            read(lock, *mine, &waiter);
        } else {
            waiter.changed.wait(lock);
        }
    }
    return std::move(waiter.reply);
}

void ConnectionCore::sendBarrier(Handler<void()> handler) {
    {
        const std::lock_guard lock(mutex);
        if (!session->out.isEmpty()) {
            session->barriers.push_back({session->out.appended(), std::move(handler)});
            return;
        }
    }
    target->async(std::move(handler));
}

// After a frame has been appended.
void ConnectionCore::appended(Lock &lock) {
    touch();
    if (session->out.gatheredBytes() > MessageLimits::gatheredBytes)
        return endSession(lock, MessageError::connectionInterrupted());
    if (state == State::disconnected)
        return start();
    if (state != State::connected)
        return;
    const Ref<Session> s = session;
    if (s->broken || s->flushing || s->out.isBeingSent())
        return;
    if (s->batches != 0 && s->out.gatheredBytes() < gatheredAtMost) {
        // Handlers of replies often send the next request: what they send leaves when they all have run. One
        // that takes its time does not hold it up.
        if (!std::exchange(s->timed, true))
            WorkQueue::global()->after(gatherTime, [self = Ref<ConnectionCore>(this), s] {
                const Lock guard(self->mutex);
                s->timed = false;
                if (!s->over && !s->flushing && !s->out.isEmpty() && !s->out.isBeingSent()) {
                    s->flushing = true;
                    self->arm(*s);
                }
            });
        return;
    }
    if (s->pending.handlerCount() > gatherAbove)
        s->flushing = true;
    else
        flush(lock, *s, MSG_DONTWAIT, s->out.appended());
    if (!s->over)
        arm(*s);
}

void ConnectionCore::flush(Lock &lock, Session &s, int flags, std::uint64_t upTo) {
    const SendQueue::Outcome outcome = s.out.flush(lock, s.socket.get(), flags, upTo);
    if (s.over)
        return;
    runBarriers(s);
    if (outcome == SendQueue::Outcome::failed) {
        // Replies may have come before the peer went away: whoever reads next finds them, and then the end.
        s.broken = true;
        s.watched = true;
        shutdown(s.socket.get(), SHUT_RDWR);
    } else if (!s.out.isEmpty()) {
        s.flushing = true; // the socket is full, or others have appended meanwhile
    } else if (released) {
        return endSession(lock, nullptr);
    } else {
        return;
    }
    arm(s);
}

void ConnectionCore::endBatch(Session &s) {
    Lock lock(mutex);
    --s.batches;
    if (s.over || s.broken || s.flushing || s.out.isEmpty() || s.out.isBeingSent())
        return;
    flush(lock, s, MSG_DONTWAIT, s.out.appended());
    if (!s.over)
        arm(s);
}

void ConnectionCore::runBarriers(Session &s) {
    std::size_t count = 0;
    while (count < s.barriers.size() && s.barriers[count].position <= s.out.sent())
        target->async(std::move(s.barriers[count++].handler));
    s.barriers.erase(s.barriers.begin(), s.barriers.begin() + static_cast<std::ptrdiff_t>(count));
}

// Connecting

void ConnectionCore::start() {
    state = State::connecting;
    WorkQueue::global()->async([self = Ref<ConnectionCore>(this)] {
        Lock lock(self->mutex);
        self->establish(lock);
    });
}

void ConnectionCore::establish(Lock &lock) {
    if (state != State::connecting)
        return;
    lock.unlock();
    Connected made = connectToService(name.c_str(), [this](int socket) {
        const std::lock_guard guard(mutex);
        connectingSocket = socket;
        return state == State::connecting;
    });
    lock.lock();
    connectingSocket = -1;
    if (state != State::connecting)
        return;
    if (made.outcome != ConnectOutcome::connected)
        return endSession(lock,
                          made.outcome == ConnectOutcome::invalid ? MessageError::connectionInvalid()
                                                                  : MessageError::connectionInterrupted(),
                          made.refusal.get());
    const Ref<Session> s = session;
    s->socket = std::move(made.socket);
    s->source =
        DescriptorSource::create(s->socket.get(), [self = Ref<ConnectionCore>(this),
                                                   s](std::uint32_t events) { self->onReady(*s, events); });
    state = State::connected;
    touch();
    flush(lock, *s, MSG_DONTWAIT, s->out.appended());
    if (!s->over)
        passOnReading(*s);
}

// Reading

void ConnectionCore::arm(Session &s) {
    std::uint32_t wanted = s.flushing ? EPOLLOUT : 0U;
    if (!s.reading && (s.watched || s.pending.handlerCount() != 0))
        wanted |= EPOLLIN;
    const bool disturbs = s.reading && (s.armedEvents & EPOLLIN) != 0;
    if (s.armed && (s.armedEvents & wanted) == wanted && !disturbs)
        return;
    s.armed = true;
    s.armedEvents = wanted;
    s.source->arm(wanted);
}

// On the reader thread.
void ConnectionCore::onReady(Session &s, std::uint32_t events) {
    Lock lock(mutex);
    if (s.over)
        return;
    s.armed = false;
    s.armedEvents = 0;
    if (std::exchange(s.flushing, false) && !s.broken && !s.out.isEmpty() && !s.out.isBeingSent())
        flush(lock, s, MSG_DONTWAIT, s.out.appended());
    if (!s.over && (events & ~std::uint32_t{EPOLLOUT}) != 0 && !s.reading)
        read(lock, s, nullptr);
    else if (!s.over)
        arm(s);
}

// By a waiting thread until its reply is there, else as long as there is something.
void ConnectionCore::read(Lock &lock, Session &s, const ReplyWaiter *waiter) {
    s.reading = true;
    if (waiter != nullptr)
        arm(s);
    constexpr int mostRounds = 16;
    std::vector<Received> received;
    for (int round = 0; waiter != nullptr ? waiter->reply == nullptr : round < mostRounds; ++round) {
        lock.unlock();
        const auto outcome = s.in.receive(s.socket.get(), waiter != nullptr ? 0 : MSG_DONTWAIT);
        bool sound = outcome == FrameReader::Outcome::nothing ||
                     (outcome == FrameReader::Outcome::bytes && decode(s, received));
        const bool more = outcome == FrameReader::Outcome::bytes && s.in.wasFilled();
        Deliveries deliveries;
        lock.lock();
        if (s.over)
            return;
        sound = sort(s, received, deliveries) && sound;
        received.clear();
        if (!deliveries.empty()) {
            ++s.batches;
            auto batch = makeRef<Batch>(this, &s);
            for (Delivery &delivery : deliveries)
                delivery.batch = batch;
            lock.unlock();
            deliver(std::move(deliveries));
            batch = nullptr; // may be the last to let go, and then locks
            lock.lock();
            if (s.over)
                return;
        }
        if (!sound)
            return endSession(lock, MessageError::connectionInterrupted());
        if (waiter == nullptr && !more)
            break;
    }
    s.reading = false;
    passOnReading(s);
}

void ConnectionCore::passOnReading(Session &s) {
    if (ReplyWaiter *waiter = s.pending.anyWaiter())
        waiter->changed.notify_one();
    arm(s);
}

bool ConnectionCore::decode(Session &s, std::vector<Received> &received) {
    FrameReader::Frame frame;
    for (;;) {
        switch (s.in.next(frame)) {
        case FrameReader::Next::incomplete:
            return true;
        case FrameReader::Next::malformed:
            return false;
        case FrameReader::Next::frame:
            break;
        }
        Ref<MessageValue> value;
        if (frame.header.kind == FrameKind::errorReply && frame.descriptors.empty()) {
            value = decodeError(frame.contents);
        } else if (frame.header.kind == FrameKind::reply || frame.header.kind == FrameKind::message) {
            value = decodeMessage(frame.buffer, frame.contents, frame.descriptors);
        }
        if (value == nullptr)
            return false;
        received.push_back({frame.header.kind, frame.header.id, std::move(value)});
    }
}

// Finds who gets what was received; false when nobody waits for a reply.
bool ConnectionCore::sort(Session &s, std::vector<Received> &received, Deliveries &deliveries) {
    for (Received &each : received) {
        if (each.kind == FrameKind::message) {
            if (eventHandler)
                deliveries.push_back({target, eventHandler, std::move(each.value)});
            continue;
        }
        PendingReplies::Entry entry;
        if (!s.pending.take(each.id, entry))
            return false;
        if (entry.waiter != nullptr) {
            entry.waiter->reply = std::move(each.value);
            entry.waiter->changed.notify_one();
        } else {
            deliveries.push_back({std::move(entry.queue), std::move(entry.handler), std::move(each.value)});
        }
    }
    return true;
}

// Ending

void ConnectionCore::failPending(Session &s, MessageError *error, Deliveries &deliveries) {
    for (const PendingReplies::Entry &each : s.pending.all()) {
        PendingReplies::Entry entry;
        if (each.id == 0 || !s.pending.take(each.id, entry))
            continue;
        if (entry.waiter != nullptr) {
            entry.waiter->reply = error;
            entry.waiter->changed.notify_one();
        } else {
            deliveries.push_back({std::move(entry.queue), std::move(entry.handler), error});
        }
    }
}

// Null for an end that nobody notices: nothing is due then. Pending requests fail with an error of their own
// when there is one.
void ConnectionCore::endSession(Lock &lock, MessageError *error, MessageError *pendingError) {
    const Ref<ConnectionCore> self(this);
    const Ref<Session> old = std::exchange(session, makeRef<Session>());
    old->over = true;
    Handler<void(MessageValue *)> told = error != nullptr ? eventHandler : nullptr;
    if (error == MessageError::connectionInvalid()) {
        state = State::invalid;
        eventHandler = nullptr; // what it holds may hold the connection
    } else if (state != State::suspended) {
        state = State::disconnected;
    }
    Deliveries deliveries;
    failPending(*old, pendingError != nullptr ? pendingError : error, deliveries);
    if (told)
        deliveries.push_back({target, std::move(told), error});
    for (Barrier &barrier : old->barriers)
        target->async(std::move(barrier.handler));
    lock.unlock();
    if (old->socket)
        shutdown(old->socket.get(), SHUT_RDWR); // wakes whoever is blocked in it
    if (old->source != nullptr)
        old->source->cancel();
    deliver(std::move(deliveries));
    lock.lock();
    if (!old->reading && !old->out.isBeingSent())
        old->socket.reset(); // otherwise with the last reference, when that thread has come back
}

void ConnectionCore::cancel(bool quietly) {
    Lock lock(mutex);
    if (state == State::invalid)
        return;
    if (connectingSocket >= 0 && !quietly)
        shutdown(connectingSocket, SHUT_RDWR);
    if (quietly) {
        released = true;
        eventHandler = nullptr;
        Deliveries deliveries;
        failPending(*session, MessageError::connectionInvalid(), deliveries);
        const bool leaves = state != State::suspended && !session->broken && !session->out.isEmpty();
        if (!leaves)
            endSession(lock, MessageError::connectionInvalid());
        lock.unlock();
        deliver(std::move(deliveries));
        return;
    }
    endSession(lock, MessageError::connectionInvalid());
}

// Being idle

void ConnectionCore::touch() {
    ++activity;
    if (ticking)
        return;
    ticking = true;
    WorkQueue::global()->after(quietTime, [self = Ref<ConnectionCore>(this)] { self->tick(); });
}

void ConnectionCore::tick() {
    const std::lock_guard lock(mutex);
    ticking = false;
    if (state != State::connected)
        return;
    if (activity != std::exchange(activityAtTick, activity)) {
        ticking = true;
        WorkQueue::global()->after(quietTime, [self = Ref<ConnectionCore>(this)] { self->tick(); });
        return;
    }
    session->watched = true;
    arm(*session);
    if (closing)
        return;
    closing = true;
    activityAtIdle = activity;
    WorkQueue::global()->after(idleTime, [self = Ref<ConnectionCore>(this)] { self->closeIfIdle(); });
}

void ConnectionCore::closeIfIdle() {
    Lock lock(mutex);
    closing = false;
    if (state != State::connected)
        return;
    Session &s = *session;
    const bool idle = activity == std::exchange(activityAtIdle, activity) && s.out.isEmpty() &&
                      s.pending.handlerCount() + s.pending.waiterCount() == 0 && !s.reading &&
                      !s.in.inFrame();
    if (idle)
        return endSession(lock, nullptr);
    closing = true;
    WorkQueue::global()->after(idleTime, [self = Ref<ConnectionCore>(this)] { self->closeIfIdle(); });
}

} // namespace wickerlane

#include "wickerlane/platform/message/connection/ConnectionCore.h"

#include <sys/socket.h>

#include <algorithm>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/message/connection/Cancellation.h"
#include "wickerlane/platform/message/connection/ConnectionSession.h"
#include "wickerlane/platform/message/connection/ReplyTimeLimit.h"
#include "wickerlane/platform/message/service/ServiceConnector.h"
#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/platform/queue/ServiceThreads.h"

namespace wickerlane {
namespace {

// Of a request that was never sent.
Ref<MessageError> unsent(const char *reason) {
    constexpr std::int64_t kindUnreachable = 11; // as the model numbers the kinds of problems
    return MessageError::create(reason, isForkedChild() ? kindUnreachable : 0);
}

} // namespace

ConnectionCore::ConnectionCore(const char *serviceName, WorkQueue *queue)
    : name(serviceName == nullptr ? "" : serviceName), target(queue != nullptr ? queue : WorkQueue::global()),
      session(makeRef<Session>()) {
    refuseForkedChildren();
}

ConnectionCore::~ConnectionCore() = default;

void ConnectionCore::setEventHandler(Handler<void(MessageValue *)> handler) {
    if (isForkedChild())
        return;
    const MutexLock lock(mutex);
    eventHandler = std::move(handler);
}

void ConnectionCore::setIdleTime(std::chrono::milliseconds time) {
    if (isForkedChild())
        return;
    const MutexLock lock(mutex);
    idleTimer.idleTime = time;
}

void ConnectionCore::setReplyTimeLimit(std::chrono::nanoseconds limit) {
    if (isForkedChild())
        return;
    const MutexLock lock(mutex);
    replyTimeLimit = limit;
}

void ConnectionCore::resume() {
    if (isForkedChild())
        return;
    const MutexLock lock(mutex);
    if (state != State::suspended)
        return;
    state = State::disconnected;
    if (!session->sender.isEmpty())
        startConnecting();
}

void ConnectionCore::cancel() {
    if (isForkedChild())
        return;
    const MutexLock lock(mutex);
    if (state == State::invalid)
        return;
    if (connectingSocket >= 0)
        shutdown(connectingSocket, SHUT_RDWR);
    endSession(MessageError::connectionInvalid());
}

PeerVersion ConnectionCore::serviceVersion() {
    if (isForkedChild())
        return {};
    const MutexLock lock(mutex);
    return versionOfService;
}

void ConnectionCore::abandon() {
    if (isForkedChild())
        return;
    std::vector<Delivery> deliveries;
    {
        const MutexLock lock(mutex);
        if (state == State::invalid)
            return;
        isReleased = true;
        eventHandler = nullptr;
        session->pending.failAll(MessageError::connectionInvalid(), deliveries);
        const ConnectionSender &sender = session->sender;
        if (state == State::suspended || sender.isBroken() || sender.isEmpty())
            endSession(MessageError::connectionInvalid());
    }
    deliver(std::move(deliveries));
}

// Sending

void ConnectionCore::send(const MessageDictionary *message) {
    MessageEncoder frame;
    if (const char *reason =
            isForkedChild() ? forkedChildText : frame.encode(FrameKind::message, 0, message)) {
        consoleLog("A message to '%s' was not sent: %s", name.c_str(), reason);
        return;
    }
    const MutexLock lock(mutex);
    if (state == State::invalid)
        return;
    session->sender.append(frame);
    sendAppended();
}

void ConnectionCore::send(const MessageDictionary *message, WorkQueue *queue,
                          Handler<void(MessageValue *)> handler) {
    Ref<WorkQueue> replyQueue = queue != nullptr ? queue : target.get();
    MessageEncoder frame;
    Ref<MessageError> error;
    if (const char *reason =
            isForkedChild() ? forkedChildText : frame.encode(FrameKind::request, 0, message)) {
        error = unsent(reason);
    } else {
        Cancellation *cancellation = CancellationScope::ofThread();
        const MutexLock lock(mutex);
        error = refusalOf(cancellation);
        if (error == nullptr) {
            const Clock::time_point due = dueTime();
            frame.setID(session->pending.add(std::move(replyQueue), std::move(handler), due, cancellation));
            if (due < watchedDueTime)
                watchDueTime(due);
            session->sender.append(frame);
            sendAppended();
            return;
        }
    }
    std::vector<Delivery> deliveries;
    deliveries.push_back({std::move(replyQueue), std::move(handler), std::move(error)});
    deliver(std::move(deliveries));
}

Ref<MessageValue> ConnectionCore::sendSync(const MessageDictionary *message) {
    MessageEncoder frame;
    if (const char *reason = isForkedChild() ? forkedChildText : frame.encode(FrameKind::request, 0, message))
        return unsent(reason);
    ReplyWaiter waiter;
    Cancellation *cancellation = CancellationScope::ofThread();
    const MutexLock lock(mutex);
    if (auto refusal = refusalOf(cancellation))
        return refusal;
    const Ref<Session> mine = session;
    waiter.due = dueTime();
    waiter.isCancellable = cancellation != nullptr;
    frame.setID(mine->pending.add(&waiter, cancellation));
    mine->sender.append(frame);
    const std::uint64_t end = mine->sender.appended();
    noteActivity();
    if (waiter.isLimited() || waiter.isCancellable)
        awaitInTurns(*mine, waiter, end);
    else
        await(*mine, waiter, end);
    return std::move(waiter.reply);
}

void ConnectionCore::await(Session &mine, ReplyWaiter &waiter, std::uint64_t end) {
    while (waiter.reply == nullptr) {
        if (state == State::disconnected) {
            state = State::connecting;
            connect();
        } else if (state == State::connected && mine.sender.isFree() && mine.sender.sent() < end) {
            mine.send(*this, 0, end);
        } else if (state == State::connected && !mine.isBeingRead) {
            mine.readUntilReply(*this, waiter);
        } else {
            waiter.changed.wait(mutex);
        }
    }
}

// Nothing here blocks when the waiter is late or cancelled: others connect, and send what the socket does not
// take at once. For one that can be cancelled others read, too, so that it is never blocked in the socket.
void ConnectionCore::awaitInTurns(Session &mine, ReplyWaiter &waiter, std::uint64_t end) {
    if (mine.sender.exceedsLimit())
        endSession(MessageError::connectionInterrupted());
    while (waiter.reply == nullptr) {
        if (state == State::disconnected) {
            startConnecting();
        } else if (state == State::connected && mine.sender.isDue() && mine.sender.sent() < end) {
            mine.send(*this, MSG_DONTWAIT, end);
        } else if (state == State::connected && !mine.isBeingRead && !waiter.isCancellable) {
            mine.readUntilReply(*this, waiter);
        } else {
            if (state == State::connected && waiter.isCancellable)
                mine.arm();
            if (waiter.changed.waitUntil(mutex, waiter.due) || waiter.reply != nullptr)
                continue;
            const auto late = mine.pending.giveUp(waiter);
            // It may have been chosen as the next to read.
            if (state == State::connected && !mine.isBeingRead)
                mine.passOnReading();
            if (!mine.isOver)
                withdraw(late);
        }
    }
}

void ConnectionCore::sendBarrier(Handler<void()> handler) {
    if (!isForkedChild()) {
        const MutexLock lock(mutex);
        if (session->sender.addBarrier(handler))
            return;
    }
    deliver({barrierPassed(std::move(handler))});
}

Delivery ConnectionCore::barrierPassed(Handler<void()> handler) const {
    return {target, [handler = std::move(handler)](MessageValue *) { handler(); }, nullptr};
}

void ConnectionCore::sendAppended() {
    noteActivity();
    if (session->sender.exceedsLimit())
        return endSession(MessageError::connectionInterrupted());
    if (state == State::disconnected)
        return startConnecting();
    if (state != State::connected)
        return;
    const Ref<Session> kept = session;
    kept->sendAppended(*this);
}

// Being cancelled

// Of a request that is not to be sent; null when it may be.
Ref<MessageError> ConnectionCore::refusalOf(Cancellation *cancellation) {
    if (state == State::invalid)
        return MessageError::connectionInvalid();
    if (cancellation != nullptr && !cancellation->reach(this))
        return PendingReplies::cancelled();
    return nullptr;
}

void ConnectionCore::cancelRequests(const Cancellation &cancellation) {
    std::vector<Delivery> deliveries;
    {
        const MutexLock lock(mutex);
        withdraw(session->pending.cancel(cancellation, deliveries));
    }
    deliver(std::move(deliveries));
}

// Nothing waits for the replies of these requests any more: the service need not do what they ask for.
void ConnectionCore::withdraw(std::span<const std::uint64_t> ids) {
    if (ids.empty())
        return;
    const auto nothing = MessageDictionary::create();
    for (const std::uint64_t id : ids) {
        MessageEncoder frame;
        if (frame.encode(FrameKind::message, id, nothing.get()) == nullptr)
            session->sender.append(frame);
    }
    sendAppended();
}

// Being late

Clock::time_point ConnectionCore::dueTime() const {
    const std::chrono::nanoseconds limit = ReplyTimeLimit::ofThread().value_or(replyTimeLimit);
    return limit.count() > 0 ? timeAfter(limit) : Clock::time_point::max();
}

void ConnectionCore::watchDueTime(Clock::time_point due) {
    watchedDueTime = due;
    WorkQueue::global()->after(due - Clock::now(),
                               [self = Ref<ConnectionCore>(this), due] { self->dueTimeCame(due); });
}

void ConnectionCore::dueTimeCame(Clock::time_point due) {
    std::vector<Delivery> deliveries;
    {
        const MutexLock lock(mutex);
        if (due != watchedDueTime)
            return;
        watchedDueTime = Clock::time_point::max();
        const Clock::time_point now = Clock::now();
        PendingReplies &pending = session->pending;
        const auto late = pending.giveUpLateHandlers(now, deliveries);
        constexpr std::chrono::milliseconds pause{1}; // each look takes as long as there are requests
        if (const auto next = pending.nextDue(); next != Clock::time_point::max())
            watchDueTime(std::max(next, now + pause));
        withdraw(late);
    }
    deliver(std::move(deliveries));
}

// Connecting

void ConnectionCore::startConnecting() {
    state = State::connecting;
    if (!startServiceThreads())
        return failForWantOfThreads();
    WorkQueue::global()->async([self = Ref<ConnectionCore>(this)] {
        const MutexLock lock(self->mutex);
        self->connect();
    });
}

void ConnectionCore::failForWantOfThreads() {
    const auto noThreads = MessageError::create("The process can have no more threads.");
    endSession(MessageError::connectionInterrupted(), noThreads.get());
}

void ConnectionCore::connect() {
    if (state != State::connecting)
        return;
    if (!startServiceThreads())
        return failForWantOfThreads();
    Connected made;
    {
        const MutexUnlock unlocked(mutex);
        made = connectToService(name.c_str(), [this](int socket) {
            const MutexLock lock(mutex);
            connectingSocket = socket;
            return state == State::connecting;
        });
    }
    connectingSocket = -1;
    if (state != State::connecting)
        return;
    if (made.outcome == ConnectOutcome::invalid)
        return endSession(MessageError::connectionInvalid(), made.refusal.get());
    if (made.outcome == ConnectOutcome::interrupted)
        return endSession(MessageError::connectionInterrupted(), made.refusal.get());
    const Ref<Session> s = session;
    state = State::connected;
    versionOfService = made.version;
    noteActivity();
    s->begin(*this, std::move(made.socket), made.version);
}

// Ending

// Without an error it ends unnoticed: nothing is due then. Requests that wait fail with an error of their own
// when there is one.
void ConnectionCore::endSession(MessageError *error, MessageError *pendingError) {
    const Ref<Session> old = std::exchange(session, makeRef<Session>());
    old->isOver = true;
    Handler<void(MessageValue *)> notified = error != nullptr ? eventHandler : nullptr;
    if (error == MessageError::connectionInvalid()) {
        state = State::invalid;
        eventHandler = nullptr; // what it holds may hold the connection
    } else if (state != State::suspended) {
        state = State::disconnected;
    }
    std::vector<Delivery> deliveries;
    for (Handler<void()> &handler : old->sender.takeBarriers())
        deliveries.push_back(barrierPassed(std::move(handler)));
    old->pending.failAll(pendingError != nullptr ? pendingError : error, deliveries);
    if (notified)
        deliveries.push_back({target, std::move(notified), error});
    {
        const MutexUnlock unlocked(mutex);
        old->stop();
        deliver(std::move(deliveries));
    }
    old->closeSocket();
}

// Being idle

void ConnectionCore::noteActivity() {
    if (idleTimer.noteActivity())
        startQuietTimer();
}

void ConnectionCore::startQuietTimer() {
    WorkQueue::global()->after(IdleTimer::quietTime,
                               [self = Ref<ConnectionCore>(this)] { self->quietTimerFired(); });
}

void ConnectionCore::quietTimerFired() {
    const MutexLock lock(mutex);
    if (state != State::connected)
        return idleTimer.quietTimerStopped();
    if (idleTimer.quietTimerFired())
        return startQuietTimer();
    session->isQuiet = true;
    session->arm();
    if (idleTimer.startIdleTimer())
        startIdleTimer();
}

void ConnectionCore::startIdleTimer() {
    WorkQueue::global()->after(idleTimer.idleTime,
                               [self = Ref<ConnectionCore>(this)] { self->idleTimerFired(); });
}

void ConnectionCore::idleTimerFired() {
    const MutexLock lock(mutex);
    if (state != State::connected)
        return idleTimer.idleTimerStopped();
    if (idleTimer.idleTimerFired(session->isInUse()))
        endSession(nullptr);
    else
        startIdleTimer();
}

} // namespace wickerlane

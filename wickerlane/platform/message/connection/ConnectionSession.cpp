#include "wickerlane/platform/message/connection/ConnectionSession.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>

#include "wickerlane/platform/process/ForkedChild.h"

namespace wickerlane {

void ConnectionSession::begin(ConnectionCore &connection, UniqueFd connected, const PeerVersion &service) {
    reader.setService(service);
    socket = std::move(connected);
    source = DescriptorSource::create(
        socket.get(),
        [kept = Ref(&connection), self = Ref(this)](std::uint32_t events) { self->onReady(*kept, events); });
    if (source == nullptr)
        return connection.failForWantOfThreads();
    send(connection, MSG_DONTWAIT, sender.appended());
    if (!isOver)
        passOnReading();
}

void ConnectionSession::stop() {
    if (socket)
        shutdown(socket.get(), SHUT_RDWR);
    if (source != nullptr)
        source->cancel();
}

void ConnectionSession::closeSocket() {
    if (!isBeingRead && !sender.isSending())
        socket.reset();
}

bool ConnectionSession::isInUse() const noexcept {
    return !sender.isEmpty() || !pending.isEmpty() || isBeingRead || reader.isMidFrame();
}

// The reader thread

void ConnectionSession::arm() {
    std::uint32_t wanted = sender.isDeferred() ? EPOLLOUT : 0U;
    if (!isBeingRead && (isQuiet || pending.needReaderThread()))
        wanted |= EPOLLIN;
    if (armedEvents) {
        const bool isEnough = (*armedEvents & wanted) == wanted;
        const bool disturbs = isBeingRead && (*armedEvents & EPOLLIN) != 0;
        if (isEnough && !disturbs)
            return;
    }
    armedEvents = wanted;
    source->arm(wanted);
}

void ConnectionSession::onReady(ConnectionCore &connection, std::uint32_t events) {
    const MutexLock lock(connection.mutex);
    if (isOver)
        return;
    armedEvents.reset();
    sender.resume();
    if (sender.isDue())
        send(connection, MSG_DONTWAIT, sender.appended());
    if (isOver)
        return;
    if ((events & ~std::uint32_t{EPOLLOUT}) != 0 && !isBeingRead)
        readAvailable(connection);
    else
        arm();
}

// Sending

void ConnectionSession::sendAppended(ConnectionCore &connection) {
    switch (sender.next(pending.handlerCount())) {
    case ConnectionSender::Step::nothing:
        return;
    case ConnectionSender::Step::gather:
        if (sender.startTimer())
            startGatherTimer(connection);
        return;
    case ConnectionSender::Step::defer:
        sender.defer();
        return arm();
    case ConnectionSender::Step::send:
        return sendAll(connection);
    }
}

// As far as the socket takes it.
void ConnectionSession::sendAll(ConnectionCore &connection) {
    send(connection, MSG_DONTWAIT, sender.appended());
    if (!isOver)
        arm();
}

void ConnectionSession::send(ConnectionCore &connection, int flags, std::uint64_t upTo) {
    sender.send(connection.mutex, socket.get(), flags, upTo);
    if (isOver)
        return;
    sender.runPassedBarriers(*connection.target);
    if (sender.isBroken())
        watchForEnd();
    else if (!sender.isEmpty())
        arm();
    else if (connection.isReleased)
        connection.endSession(nullptr);
}

// The socket takes nothing any more. Replies may have come before the peer went away: the next to read finds
// them, and then the end.
void ConnectionSession::watchForEnd() {
    isQuiet = true;
    shutdown(socket.get(), SHUT_RDWR);
    arm();
}

// Held by the handlers of the replies that one read brought.
class ConnectionSession::RunningHandlers final : public Object {
public:
    RunningHandlers(ConnectionCore &ofConnection, ConnectionSession *ofSession)
        : connection(&ofConnection), session(ofSession) {}
    ~RunningHandlers() override {
        if (!isForkedChild()) // one of them has forked
            session->handlersHaveRun(*connection);
    }

private:
    const Ref<ConnectionCore> connection;
    const Ref<ConnectionSession> session;
};

void ConnectionSession::handlersHaveRun(ConnectionCore &connection) {
    const MutexLock lock(connection.mutex);
    sender.handlersEnd();
    if (!isOver && sender.isDue())
        sendAll(connection);
}

void ConnectionSession::startGatherTimer(ConnectionCore &connection) {
    constexpr std::chrono::milliseconds gatherTime{1};
    WorkQueue::global()->after(
        gatherTime, [kept = Ref(&connection), self = Ref(this)] { self->gatherTimerFired(*kept); });
}

void ConnectionSession::gatherTimerFired(ConnectionCore &connection) {
    const MutexLock lock(connection.mutex);
    sender.timerFired();
    if (isOver || !sender.isDue())
        return;
    sender.defer();
    arm();
}

// Reading

void ConnectionSession::readUntilReply(ConnectionCore &connection, const ReplyWaiter &waiter) {
    isBeingRead = true;
    isQuiet = false;
    arm();
    Received received;
    std::vector<std::uint64_t> late;
    const int flags = waiter.isLimited() ? MSG_DONTWAIT : 0;
    while (waiter.reply == nullptr) {
        const bool isLate = waiter.isLimited() && !awaitInput(connection, waiter.due);
        if (isOver)
            return;
        if (isLate)
            late = pending.giveUp(waiter);
        else if (readOnce(connection, flags, received) == ReadResult::sessionIsOver)
            return;
    }
    isBeingRead = false;
    passOnReading();
    connection.withdraw(late);
}

// False when there is none at that time.
bool ConnectionSession::awaitInput(ConnectionCore &connection, Clock::time_point due) {
    const MutexUnlock unlocked(connection.mutex);
    pollfd readable{.fd = socket.get(), .events = POLLIN, .revents = 0};
    const auto left = std::max<Clock::duration>(due - Clock::now(), Clock::duration::zero());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
    const timespec limit{.tv_sec = seconds.count(), .tv_nsec = (left - seconds).count()};
    return ppoll(&readable, 1, &limit, nullptr) != 0;
}

// On the reader thread.
void ConnectionSession::readAvailable(ConnectionCore &connection) {
    constexpr int maxRounds = 16;
    isBeingRead = true;
    Received received;
    ReadResult result = ReadResult::mayHaveMore;
    for (int round = 0; round < maxRounds && result == ReadResult::mayHaveMore; ++round)
        result = readOnce(connection, MSG_DONTWAIT, received);
    if (result == ReadResult::sessionIsOver)
        return;
    isBeingRead = false;
    passOnReading();
}

void ConnectionSession::passOnReading() {
    if (ReplyWaiter *waiter = pending.anyWaiter())
        waiter->changed.notifyOne();
    arm();
}

ConnectionSession::ReadResult ConnectionSession::readOnce(ConnectionCore &connection, int flags,
                                                          Received &received) {
    ConnectionReader::Result result{};
    {
        const MutexUnlock unlocked(connection.mutex);
        result = reader.read(socket.get(), flags, received);
    }
    if (isOver)
        return ReadResult::sessionIsOver;
    const bool areExpected = dispatch(connection, received);
    received.clear();
    if (isOver)
        return ReadResult::sessionIsOver;
    if (!areExpected || !result.isSound) {
        connection.endSession(MessageError::connectionInterrupted());
        return ReadResult::sessionIsOver;
    }
    return result.mayHaveMore ? ReadResult::mayHaveMore : ReadResult::drained;
}

// False when there is a reply that nothing waits for. What came before it is delivered.
bool ConnectionSession::dispatch(ConnectionCore &connection, Received &received) {
    std::vector<Delivery> deliveries;
    bool areExpected = true;
    for (auto each = received.begin(); each != received.end() && areExpected; ++each) {
        if (each->kind != FrameKind::message)
            areExpected = pending.resolve(each->id, std::move(each->value), deliveries);
        else if (connection.eventHandler)
            deliveries.push_back({connection.target, connection.eventHandler, std::move(each->value)});
    }
    if (deliveries.empty())
        return areExpected;
    sender.handlersBegin();
    const MutexUnlock unlocked(connection.mutex);
    // The last to let go of this takes the mutex.
    const auto running = makeRef<RunningHandlers>(connection, this);
    for (Delivery &delivery : deliveries)
        delivery.heldWhileRunning = running;
    deliver(std::move(deliveries));
    return areExpected;
}

} // namespace wickerlane

// What stands behind a MessageConnection.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONCORE_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONCORE_H

#include <span>
#include <string>

#include "wickerlane/platform/message/connection/Delivery.h"
#include "wickerlane/platform/message/connection/IdleTimer.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/message/wire/MessageEncoder.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/Futex.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

class Cancellation;
class ConnectionSession;
struct ReplyWaiter;

/// The machinery of one connection. It is kept alive by its MessageConnection, and for a moment longer by
/// timers and threads that are at work in it.
///
///     state           what is sent            ends with                                    next state
///     suspended       waits                   resume(), when nothing waits                 disconnected
///                                             resume()                                     connecting
///     disconnected    starts connecting       the first message                            connecting
///     connecting      waits                   the service's hello                          connected
///                                             no service, and none can be started          invalid
///                                             the service's refusal or end, no threads     disconnected
///     connected       leaves                  the end of the peer, a broken rule, too      disconnected
///                                             much that waits, or idleness
///     invalid         fails                   -
///
/// cancel() makes any state invalid. Who reads and who sends while it is connected: ConnectionSession.h and
/// ConnectionSender.h. When it is quiet and when idle: IdleTimer.h.
class ConnectionCore final : public Object {
public:
    ConnectionCore(const char *serviceName, WorkQueue *target);
    ~ConnectionCore() override;

    void setEventHandler(Handler<void(MessageValue *)> handler) WL_EXCLUDES(mutex);
    void setIdleTime(std::chrono::milliseconds time) WL_EXCLUDES(mutex);
    void setReplyTimeLimit(std::chrono::nanoseconds limit) WL_EXCLUDES(mutex);
    void resume() WL_EXCLUDES(mutex);
    void send(const MessageDictionary *message) WL_EXCLUDES(mutex);
    void send(const MessageDictionary *message, WorkQueue *queue, Handler<void(MessageValue *)> handler)
        WL_EXCLUDES(mutex);
    [[nodiscard]] Ref<MessageValue> sendSync(const MessageDictionary *message) WL_EXCLUDES(mutex);
    void sendBarrier(Handler<void()> handler) WL_EXCLUDES(mutex);
    void cancel() WL_EXCLUDES(mutex);
    /// Ends those that belong to a cancellation, which does not reach this any more.
    void cancelRequests(const Cancellation &cancellation) WL_EXCLUDES(mutex);
    /// Nothing holds the connection any more. It ends without an event, after what was sent has left.
    void abandon() WL_EXCLUDES(mutex);
    [[nodiscard]] const char *serviceName() const noexcept { return name.c_str(); }
    [[nodiscard]] PeerVersion serviceVersion() WL_EXCLUDES(mutex);

private:
    friend class ConnectionSession;
    using Session = ConnectionSession;
    enum class State { suspended, disconnected, connecting, connected, invalid };

    // Those that require the mutex may let go of it for a while, and end the session.
    [[nodiscard]] Ref<MessageError> refusalOf(Cancellation *cancellation) WL_REQUIRES(mutex);
    void startConnecting() WL_REQUIRES(mutex);
    void connect() WL_REQUIRES(mutex);
    void failForWantOfThreads() WL_REQUIRES(mutex);
    void sendAppended() WL_REQUIRES(mutex);
    void withdraw(std::span<const std::uint64_t> ids) WL_REQUIRES(mutex);
    void await(ConnectionSession &session, ReplyWaiter &waiter, std::uint64_t end) WL_REQUIRES(mutex);
    void awaitInTurns(ConnectionSession &session, ReplyWaiter &waiter, std::uint64_t end) WL_REQUIRES(mutex);
    void endSession(MessageError *error, MessageError *pendingError = nullptr) WL_REQUIRES(mutex);

    [[nodiscard]] Clock::time_point dueTime() const WL_REQUIRES(mutex);
    void watchDueTime(Clock::time_point due) WL_REQUIRES(mutex);
    void dueTimeCame(Clock::time_point due) WL_EXCLUDES(mutex);
    [[nodiscard]] Delivery barrierPassed(Handler<void()> handler) const;
    void noteActivity() WL_REQUIRES(mutex);
    void startQuietTimer();
    void quietTimerFired() WL_EXCLUDES(mutex);
    void startIdleTimer() WL_REQUIRES(mutex);
    void idleTimerFired() WL_EXCLUDES(mutex);

    const std::string name;
    const Ref<WorkQueue> target;
    Mutex mutex;
    State state WL_GUARDED_BY(mutex) = State::suspended;
    Ref<Session> session WL_GUARDED_BY(mutex);
    int connectingSocket WL_GUARDED_BY(mutex) = -1;
    PeerVersion versionOfService WL_GUARDED_BY(mutex);
    bool isReleased WL_GUARDED_BY(mutex) = false;
    Handler<void(MessageValue *)> eventHandler WL_GUARDED_BY(mutex);
    IdleTimer idleTimer WL_GUARDED_BY(mutex);
    std::chrono::nanoseconds replyTimeLimit WL_GUARDED_BY(mutex){}; // zero or less: none
    // When late handlers are looked for; other timers that fire are out of date.
    Clock::time_point watchedDueTime WL_GUARDED_BY(mutex) = Clock::time_point::max();
};

} // namespace wickerlane

#endif

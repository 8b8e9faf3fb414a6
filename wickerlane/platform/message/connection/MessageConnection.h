// The client's end of the message service.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_MESSAGECONNECTION_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_MESSAGECONNECTION_H

#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/message/wire/PeerVersion.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// A connection to a named service. It connects on the first send (starting the service on demand, see
/// ServiceDescription.h), reconnects after an interruption, and closes itself when idle, unseen by its user.
/// Messages arrive in the order in which they were sent, whatever the mode of sending. Thread-safe.
///
/// There are exactly two connection errors. `connectionInvalid`: the service has no description or could not
/// be started after bounded retries, or the connection was cancelled; for good. `connectionInterrupted`: the
/// peer went away, refused this client, or a limit was met; pending requests fail with it (those that a
/// refusal meets with an error that says why), and the next send connects again. The event handler never gets
/// another error than these two.
///
/// A request that a thread sends within a CancellationScope can be cancelled by another thread.
///
/// In a process that fork() made of one that had a connection or used queues, no connection works: requests
/// fail with an error that says so, messages and cancel() do nothing, and the parent's connection is left
/// alone. Start a new program instead (exec, spawn).
class WL_EXPORT MessageConnection : public Object {
    WL_OBJECT
public:
    /// Made suspended: sends are kept until resume(). `target` is the queue of events and barriers; null
    /// means the global queue. `flags` must be 0: null otherwise.
    [[nodiscard]] static Ref<MessageConnection> create(const char *serviceName, WorkQueue *target,
                                                       std::uint64_t flags = 0);

    /// The handler of what arrives outside replies: connection errors, and messages of the peer's own accord.
    /// It runs on the target queue. To be set before resume().
    virtual void setEventHandler(Handler<void(MessageValue *)> handler) = 0;
    /// How long nothing is in flight before the connection closes itself; 10 seconds unless set.
    virtual void setIdleTime(std::chrono::milliseconds time) = 0;
    /// How long the requests that are sent from now on may wait for their replies; zero, which is the
    /// default, or less means without limit. A ReplyTimeLimit of the sending thread goes before it. A request
    /// that is late gets an error of the kind `timedOut`, and a reply that comes afterwards is dropped. The
    /// service is told to stop, as for one that is cancelled; what was asked may have been done. The
    /// connection stays as it is. Connecting, and starting the service, count.
    virtual void setReplyTimeLimit(std::chrono::nanoseconds limit) = 0;
    virtual void resume() = 0;

    /// Sends without reply, and returns at once.
    virtual void send(MessageDictionary *message) = 0;
    /// Sends, and calls the handler once, on `queue` (null means the target queue), with the reply: a
    /// dictionary or an error. When the system has no thread left, the request fails, and the handler runs
    /// before this returns.
    virtual void sendWithReply(MessageDictionary *message, WorkQueue *queue,
                               Handler<void(MessageValue *)> handler) = 0;
    /// Sends, and blocks until the reply is there: a dictionary or an error, never null.
    [[nodiscard]] virtual Ref<MessageValue> sendWithReplySync(MessageDictionary *message) = 0;
    /// Calls the handler on the target queue once everything sent before has been handed to the service's
    /// socket, or can't be any more.
    virtual void sendBarrier(Handler<void()> handler) = 0;
    /// Ends the connection for good, as releasing the last reference does (what was sent before that still
    /// leaves). Pending replies and later ones get `connectionInvalid`, and so does, once, the event
    /// handler; barriers still run.
    virtual void cancel() = 0;

    [[nodiscard]] virtual const char *serviceName() const noexcept = 0; ///< Lives as long as the connection.
    /// What the service said when this connected last; not told before it has.
    [[nodiscard]] virtual PeerVersion serviceVersion() const = 0;
};

} // namespace wickerlane

#endif

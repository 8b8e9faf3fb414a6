// The daemon's end of the message service.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_MESSAGELISTENER_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_MESSAGELISTENER_H

#include <sys/types.h>

#include <string>

#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/message/wire/PeerVersion.h"
#include "wickerlane/platform/process/RunningProgram.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// Who a peer is, by the kernel's word, fixed when it connected.
struct PeerIdentity {
    uid_t user;
    gid_t group;
    pid_t process;
    /// When the process was started, in clock ticks since boot, so that a reused id shows; 0 if it is gone.
    std::uint64_t startTime;
    RunningProgram program;
};

/// One connected client, as a daemon sees it. Thread-safe.
class WL_EXPORT MessagePeer : public Object {
    WL_OBJECT
public:
    [[nodiscard]] virtual const PeerIdentity &identity() const noexcept = 0;
    /// What it has told; in an application of a version before 1 nothing.
    [[nodiscard]] virtual PeerVersion version() const noexcept = 0;
    /// True as long as the process that connected still runs, even if its id has been reused.
    [[nodiscard]] virtual bool isAlive() const noexcept = 0;
    /// Whether what is sent may still reach it.
    [[nodiscard]] virtual bool isConnected() = 0;
    /// Sends a message of the daemon's own accord.
    virtual void send(MessageDictionary *message) = 0;
    /// Keeps work back from a peer that leaves so many answers unread that it is to get no more: it is called
    /// when the peer has read some, or is gone; on the intake thread, so that it only hands the work to a
    /// queue. False, and nothing is kept, when the peer may have its answer now.
    [[nodiscard]] virtual bool postponeUntilRead(Handler<void()> work) = 0;
    /// Ends the connection after what was sent before has left.
    virtual void cancel() = 0;
};

/// A message that a daemon received. Owns the right to answer: if it wants a reply and goes away unanswered,
/// the client gets an error. Thread-safe.
class WL_EXPORT ReceivedMessage : public Object {
    WL_OBJECT
public:
    [[nodiscard]] virtual MessageDictionary *message() const noexcept = 0; ///< Lives as long as this.
    [[nodiscard]] virtual MessagePeer *peer() const noexcept = 0;          ///< Lives as long as this.
    [[nodiscard]] virtual bool wantsReply() const noexcept = 0;
    /// Whether the client has cancelled the request. It is noticed as soon as it is read, while messages of
    /// the client are handled or wait. The request still gets an answer, which the client drops.
    [[nodiscard]] virtual bool isCancelled() = 0;
    /// For a message that is kept for long: has `work` called when its peer has gone, so that no answer
    /// arrives, or has cancelled it; on the intake thread, where it must not wait. Once for a message. False,
    /// and nothing is kept, when that has happened already.
    [[nodiscard]] virtual bool whenUnwanted(Handler<void()> work) = 0;
    /// Answers, once: a later answer, or one to a message that wants no reply, is ignored.
    virtual void reply(MessageDictionary *answer) = 0;
    /// `kind` is for programs: MessageError::errorKind() at the other end.
    virtual void replyError(std::string_view description, std::int64_t kind = 0) = 0;
};

/// A named service. Handlers run on the listener's queue: on a serial queue one at a time, in the order of
/// arrival; on a concurrent queue messages of one peer may overlap. Without a queue they run on the
/// listener's own intake thread, in the order of arrival: the fastest way, for handlers that never block
/// and leave what takes long to a queue.
class WL_EXPORT MessageListener : public Object {
    WL_OBJECT
public:
    struct Options {
        /// End (call `idle`) after this long without a connection and without a transaction; 0 means never.
        std::chrono::milliseconds idleTime{0};
        /// Called on the queue once, when the service has been idle: no client is connected or waits to be
        /// accepted, and a new one starts the service again. The process is then to exit.
        Handler<void()> idle;
        /// The messages of each peer are handled one at a time, in the order of arrival, those of several
        /// peers in parallel, a limited number of them: on threads of the global queue, in turns for each
        /// process. What takes long is to be left to another queue.
        bool ordersEachPeer = false;
        /// With `ordersEachPeer`: gets each message first that comes while none of its peer is handled or
        /// waits, on the intake thread, which reads for all peers. True when it has handled it; false leaves
        /// it to the handler. For what is answered from memory: it must never wait.
        Handler<bool(ReceivedMessage *)> atOnce{};
        /// What the data of the handler's keys weighs when the handler reads it; may be null.
        MessageWeight weight{};
        MessageLimits limits{};
        /// What it tells its clients.
        PeerVersion version = PeerVersion::own();
    };

    /// Takes the service's name: binds its socket under the root's run-time folder, or uses the socket that
    /// it inherited from the process that started it. `queue` may be null. Null, with a reason in `error`
    /// when not null, when the name is taken by a living service or the socket can't be made.
    [[nodiscard]] static Ref<MessageListener> create(const char *serviceName, WorkQueue *queue,
                                                     Handler<void(ReceivedMessage *)> handler,
                                                     Options options, std::string *error = nullptr);
    /// Called on the queue for each new peer; false refuses it: its pending requests fail with an error that
    /// says so.
    virtual void setPeerHandler(Handler<bool(MessagePeer *)> handler) = 0;
    /// How many messages its handlers have that they have not let go of.
    [[nodiscard]] virtual std::size_t heldMessages() const noexcept = 0;
    /// False when the system has no thread left for the service.
    virtual bool resume() = 0;
    /// Accepts no more clients and ends all connections, as releasing the last reference does. Waits for the
    /// intake thread, unless called on it.
    virtual void cancel() = 0;
};

} // namespace wickerlane

#endif

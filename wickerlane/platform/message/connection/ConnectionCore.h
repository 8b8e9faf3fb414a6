// What stands behind a MessageConnection.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONCORE_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONCORE_H

#include <condition_variable>
#include <mutex>
#include <string>

#include "wickerlane/platform/message/connection/PendingReplies.h"
#include "wickerlane/platform/message/wire/FrameReader.h"
#include "wickerlane/platform/message/wire/SendQueue.h"
#include "wickerlane/platform/queue/DescriptorSource.h"

namespace wickerlane {

/// The machinery of one connection. It is kept alive by its MessageConnection, and for a moment longer by
/// timers and threads that are at work in it.
///
/// Between two interruptions everything belongs to one Session. One thread at a time reads its socket: a
/// thread that waits for its own reply, which then blocks in the read, or else the process's reader thread.
/// The reader thread is told of incoming data only while replies to handlers are due, or when nothing has
/// happened for a moment (so that it does not wake for every synchronous reply); it always learns of a
/// hang-up.
class ConnectionCore final : public Object {
public:
    ConnectionCore(const char *serviceName, WorkQueue *target);

    void setEventHandler(Handler<void(MessageValue *)> handler);
    void resume();
    void send(const MessageDictionary *message);
    void send(const MessageDictionary *message, WorkQueue *queue, Handler<void(MessageValue *)> handler);
    [[nodiscard]] Ref<MessageValue> sendSync(const MessageDictionary *message);
    void sendBarrier(Handler<void()> handler);
    /// Ends it. `quietly`: nobody holds the connection any more, so nobody is told; what was sent still
    /// leaves.
    void cancel(bool quietly);
    void setIdleTime(std::chrono::milliseconds time);
    [[nodiscard]] const char *serviceName() const noexcept { return name.c_str(); }

private:
    using Lock = std::unique_lock<std::mutex>;
    using Deliveries = std::vector<Delivery>;
    enum class State { suspended, disconnected, connecting, connected, invalid };

    struct Barrier {
        std::uint64_t position; // in the stream of bytes sent
        Handler<void()> handler;
    };
    struct Received {
        FrameKind kind;
        std::uint64_t id;
        Ref<MessageValue> value;
    };
    struct Session final : public Object {
        UniqueFd socket;
        SendQueue out;
        FrameReader in; // of the thread that has `reading` set
        PendingReplies pending;
        std::vector<Barrier> barriers;
        Ref<DescriptorSource> source;
        bool reading = false;
        bool flushing = false; // the reader thread is to send what waits
        bool watched = false;  // for incoming data, since nothing happens
        bool armed = false;
        std::uint32_t armedEvents = 0;
        std::size_t batches = 0; // of replies whose handlers have not all run
        bool timed = false;      // what waits for them to run is sent in a moment anyway
        bool broken = false;     // takes nothing any more; what is left to read tells why
        bool over = false;
    };

    void start();
    void establish(Lock &lock);
    void appended(Lock &lock);
    void flush(Lock &lock, Session &session, int flags, std::uint64_t upTo);
    class Batch;
    void endBatch(Session &session);
    void runBarriers(Session &session);
    void arm(Session &session);
    void onReady(Session &session, std::uint32_t events);
    void read(Lock &lock, Session &session, const ReplyWaiter *waiter);
    void passOnReading(Session &session);
    [[nodiscard]] static bool decode(Session &session, std::vector<Received> &received);
    [[nodiscard]] bool sort(Session &session, std::vector<Received> &received, Deliveries &deliveries);
    void failPending(Session &session, MessageError *error, Deliveries &deliveries);
    void endSession(Lock &lock, MessageError *error, MessageError *pendingError = nullptr);
    void touch();
    void tick();
    void closeIfIdle();

    const std::string name;
    const Ref<WorkQueue> target;
    std::mutex mutex;
    State state = State::suspended;
    Ref<Session> session;
    int connectingSocket = -1;
    bool released = false;
    Handler<void(MessageValue *)> eventHandler;
    std::uint64_t activity = 0;
    std::uint64_t activityAtTick = 0;
    std::uint64_t activityAtIdle = 0;
    bool ticking = false;
    bool closing = false;
    std::chrono::milliseconds idleTime{10'000};
};

} // namespace wickerlane

#endif

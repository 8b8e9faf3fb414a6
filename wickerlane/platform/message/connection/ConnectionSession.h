// What a connection has between two interruptions.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONSESSION_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONSESSION_H

#include <optional>

#include "wickerlane/platform/message/connection/ConnectionCore.h"
#include "wickerlane/platform/message/connection/ConnectionReader.h"
#include "wickerlane/platform/message/connection/ConnectionSender.h"
#include "wickerlane/platform/message/connection/PendingReplies.h"
#include "wickerlane/platform/queue/DescriptorSource.h"

namespace wickerlane {

/// A socket, with what waits to be sent on it and what waits for replies. It begins to gather before there is
/// a socket. Guarded by the connection's mutex; kept alive by the threads that are at work in it.
///
/// One thread at a time reads:
///
///     reader                begins when                            stops when
///     a waiting thread      nothing else reads, and its request    its reply has come, or is late
///                           has been sent and can't be cancelled
///     the reader thread     its source reports input               there is no more, or other connections
///                                                                  are to have their turn
///
/// The reader thread's source is armed for
///
///     input     while nothing reads and either a handler, or a thread that can be cancelled, waits for a
///               reply or the connection is quiet (so that the thread does not wake for each reply that
///               another thread waits for)
///     output    while sending is deferred to the reader thread
///     nothing   else; it always reports a hang-up
class ConnectionSession final : public Object {
public:
    // These let go of the connection's mutex for a while, and may end the session.
    void begin(ConnectionCore &connection, UniqueFd connected, const PeerVersion &service)
        WL_REQUIRES(connection.mutex);
    /// After a frame was appended to the sender.
    void sendAppended(ConnectionCore &connection) WL_REQUIRES(connection.mutex);
    /// Sends until `upTo` bytes, ever, have been sent, as far as the socket takes them.
    void send(ConnectionCore &connection, int flags, std::uint64_t upTo) WL_REQUIRES(connection.mutex);
    /// On the thread that waits; until the waiter is late at most.
    void readUntilReply(ConnectionCore &connection, const ReplyWaiter &waiter) WL_REQUIRES(connection.mutex);
    /// A thread has stopped reading, or does not begin to: another may.
    void passOnReading();

    /// Arms the source for what the reader thread is to do now.
    void arm();
    /// Without the mutex. Wakes the threads that are blocked in the socket; the source reports nothing more.
    void stop();
    /// After stop(). When a thread is still at work in it, the socket is closed with the last reference.
    void closeSocket();
    [[nodiscard]] bool isInUse() const noexcept;

    ConnectionSender sender;
    PendingReplies pending;
    bool isBeingRead = false;
    bool isQuiet = false; ///< Input is watched for although nothing waits for it.
    bool isOver = false;

private:
    using Received = std::vector<ConnectionReader::Received>;
    enum class ReadResult { mayHaveMore, drained, sessionIsOver };
    class RunningHandlers;

    void onReady(ConnectionCore &connection, std::uint32_t events) WL_EXCLUDES(connection.mutex);
    void sendAll(ConnectionCore &connection) WL_REQUIRES(connection.mutex);
    void handlersHaveRun(ConnectionCore &connection) WL_EXCLUDES(connection.mutex);
    void startGatherTimer(ConnectionCore &connection);
    void gatherTimerFired(ConnectionCore &connection) WL_EXCLUDES(connection.mutex);
    void readAvailable(ConnectionCore &connection) WL_REQUIRES(connection.mutex);
    [[nodiscard]] ReadResult readOnce(ConnectionCore &connection, int flags, Received &received)
        WL_REQUIRES(connection.mutex);
    [[nodiscard]] bool dispatch(ConnectionCore &connection, Received &received) WL_REQUIRES(connection.mutex);
    [[nodiscard]] bool awaitInput(ConnectionCore &connection, Clock::time_point due)
        WL_REQUIRES(connection.mutex);
    void watchForEnd();

    UniqueFd socket;
    ConnectionReader reader; // of the thread that reads
    Ref<DescriptorSource> source;
    std::optional<std::uint32_t> armedEvents; // none: not armed
};

} // namespace wickerlane

#endif

// What a connection sends, and when.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONSENDER_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONSENDER_H

#include "wickerlane/platform/message/wire/SendQueue.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// The frames and barriers that wait to be sent on one socket. Guarded by the connection's mutex.
///
///     when a frame is appended and                       next() is     and what waits leaves
///     the socket takes nothing any more                  nothing       never: the end of the session follows
///     a thread is sending                                nothing       on that thread, or the reader thread
///     sending is left to the reader thread already       nothing       on the reader thread
///     handlers of replies are running, and less than     gather        when all of them have run, or 1 ms
///     64 KiB waits                                                     later
///     more than 4 handlers wait for replies              defer         on the reader thread, with what is
///                                                                      appended meanwhile
///     else                                               send          on this thread
///
/// A thread that waits for a reply sends its own request whatever next() says, unless a thread is sending.
class ConnectionSender {
public:
    enum class Step { nothing, gather, defer, send };

    void append(const MessageEncoder &frame) { queue.append(frame); }
    [[nodiscard]] Step next(std::size_t waitingHandlers) const noexcept;

    /// Sends until `upTo` bytes, ever, have been sent, as far as the socket takes them. What is left then is
    /// deferred. To be called while isFree().
    void send(Mutex &mutex, int socket, int flags, std::uint64_t upTo) WL_REQUIRES(mutex);
    /// The socket takes bytes, and no thread is sending.
    [[nodiscard]] bool isFree() const noexcept { return !broken && !queue.isBeingSent(); }
    /// Something waits that a thread may send which comes by.
    [[nodiscard]] bool isDue() const noexcept { return isFree() && !deferred && !queue.isEmpty(); }

    /// Leaves the sending to the reader thread.
    void defer() noexcept { deferred = true; }
    [[nodiscard]] bool isDeferred() const noexcept { return deferred; }
    /// On the reader thread: what was deferred is its to send now.
    void resume() noexcept { deferred = false; }

    /// Handlers of replies begin to run, which may send the next requests.
    void handlersBegin() noexcept { ++runningHandlers; }
    void handlersEnd() noexcept { --runningHandlers; }
    /// True when the caller is to start the timer that ends the gathering.
    [[nodiscard]] bool startTimer() noexcept { return !std::exchange(isTimerRunning, true); }
    void timerFired() noexcept { isTimerRunning = false; }

    /// Has a handler run when what was appended before has been sent. False when all has been.
    [[nodiscard]] bool addBarrier(const Handler<void()> &handler);
    /// Submits the handlers of the barriers that have been passed.
    void runPassedBarriers(WorkQueue &target);
    /// The handlers of all barriers, which are the caller's to run.
    [[nodiscard]] std::vector<Handler<void()>> takeBarriers();

    [[nodiscard]] bool isEmpty() const noexcept { return queue.isEmpty(); }
    [[nodiscard]] bool isSending() const noexcept { return queue.isBeingSent(); }
    /// The socket takes nothing any more.
    [[nodiscard]] bool isBroken() const noexcept { return broken; }
    [[nodiscard]] bool exceedsLimit() const noexcept;
    [[nodiscard]] std::uint64_t appended() const noexcept { return queue.appended(); } ///< Bytes, ever.
    [[nodiscard]] std::uint64_t sent() const noexcept { return queue.sent(); }         ///< Bytes, ever.

private:
    struct Barrier {
        std::uint64_t position; // in the stream of bytes
        Handler<void()> handler;
    };

    SendQueue queue;
    std::vector<Barrier> barriers;
    std::size_t runningHandlers = 0; // counted by the reads that brought their replies
    bool isTimerRunning = false;
    bool deferred = false;
    bool broken = false;
};

} // namespace wickerlane

#endif

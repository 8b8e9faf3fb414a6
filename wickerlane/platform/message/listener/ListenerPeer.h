// One client of a listener.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_LISTENERPEER_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_LISTENERPEER_H

#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/message/listener/PeerProcess.h"
#include "wickerlane/platform/message/listener/PeerShares.h"
#include "wickerlane/platform/message/wire/FrameReader.h"
#include "wickerlane/platform/message/wire/SendQueue.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane {

class ListenerCore;

/// What the intake thread alone knows of a peer.
struct PeerIntakeState {
    FrameReader reader;
    std::uint64_t number = 0; ///< Its name for epoll.
    bool isAdmitted = false;
    std::uint32_t watchedEvents = 0; ///< What it is registered for; 0: not registered.
    std::size_t reservedBytes = 0;   ///< Of the shares, for the message that is being received.
    std::chrono::steady_clock::time_point lastBytes{};
    // A message that waits, unread, until its cost fits. Meanwhile nothing further is read.
    std::optional<FrameReader::Frame> waiting;
    std::size_t waitingCost = 0;
    std::size_t countedDescriptors = 0; ///< Of the shares.
    bool waitsWithDescriptors = false;  ///< What it sends next brings some, past their limit.
};

/// One client. The intake thread reads its socket; any thread answers.
///
/// Each answer leaves at once, on the thread that gives it, with three exceptions:
///
///     situation                          what is sent leaves
///     another thread is sending          on that thread
///     the socket is full                 on the intake thread, when there is room
///     the thread gathers its answers     when the thread stops gathering, or once it is 64 KiB; where
///                                        handlers may block, 1 ms later at most, so that none holds up
///                                        earlier answers
class ListenerPeer final : public MessagePeer {
public:
    ListenerPeer(ListenerCore *owner, UniqueFd connected, PeerProcess peer, Ref<UserShare> user,
                 Ref<ProcessShare> ofProcess);
    ~ListenerPeer() override;

    [[nodiscard]] const PeerIdentity &identity() const noexcept override { return client.identity; }
    [[nodiscard]] PeerVersion version() const noexcept override {
        return PeerVersion::fromNumber(toldVersion.load(std::memory_order_relaxed));
    }
    /// Before its first message. Of the intake thread.
    void noteVersion(std::uint64_t number) noexcept { toldVersion = number; }
    [[nodiscard]] bool isAlive() const noexcept override { return client.isAlive(); }
    [[nodiscard]] bool isConnected() override WL_EXCLUDES(mutex);
    void send(MessageDictionary *message) override;
    [[nodiscard]] bool postponeUntilRead(Handler<void()> work) override WL_EXCLUDES(mutex);
    void cancel() override;

    /// As ReceivedMessage::whenUnwanted() has it.
    [[nodiscard]] bool watch(const ReceivedMessage *message, std::uint64_t id, Handler<void()> work)
        WL_EXCLUDES(mutex);
    void forgetWatched(const ReceivedMessage *message) WL_EXCLUDES(mutex);
    /// It has gone: runs what waits for that. Of the intake thread.
    void runUnwanted() WL_EXCLUDES(mutex);

    /// It has cancelled a request. An id that none of its requests has is forgotten when none is held any
    /// more. Of the intake thread.
    void cancelRequest(std::uint64_t id) WL_EXCLUDES(mutex);
    [[nodiscard]] bool isCancelled(std::uint64_t id) WL_EXCLUDES(mutex);
    void forgetCancelled(std::uint64_t id) WL_EXCLUDES(mutex);

    void reply(std::uint64_t id, MessageDictionary *answer);
    void replyError(std::uint64_t id, std::string_view description, std::int64_t kind);
    void transmit(const MessageEncoder &frame) WL_EXCLUDES(mutex);

    /// From here to stopGathering() what the calling thread sends is gathered. A timer is needed only where
    /// the handlers may block.
    void startGathering(bool handlersMayBlock) WL_EXCLUDES(mutex);
    /// What was gathered leaves with what is sent next, or with sendGathered().
    void stopGathering() WL_EXCLUDES(mutex);
    void sendGathered() WL_EXCLUDES(mutex);

    void messageHeld(std::size_t cost) noexcept;
    void messageReleased(std::size_t cost);
    void chargeReceived(std::size_t bytes) noexcept;
    void unchargeReceived(std::size_t bytes) noexcept;
    void bytesReleased(std::size_t bytes);
    /// It has sent as many messages as are held of it. It is then not read from until a quarter of them is
    /// done, so that the intake thread is not woken for each. Of the intake thread.
    [[nodiscard]] bool isFull() noexcept;
    [[nodiscard]] std::size_t receivedBytes() const noexcept { return bytesReceived.load(); }

    /// It has not read an answer, or its process far too many, while what waits for its user exceeds the
    /// limit. One that has read all is not held back by others of its user.
    [[nodiscard]] bool leavesUnread() const noexcept;
    /// The same; if so, the intake thread turns to it when something has been read.
    [[nodiscard]] bool mustReadFirst() noexcept;
    /// Runs what was postponed, unless the peer must still read first. Of the intake thread.
    void runPostponed() WL_EXCLUDES(mutex);

    /// Finds out whether what was sent has been read: the kernel does not report it. Of the intake thread.
    void noteWhatWasRead() WL_EXCLUDES(mutex);
    /// Whether it has taken nothing since then of what waits for it.
    [[nodiscard]] bool hasTakenNothingSince(std::chrono::steady_clock::time_point time) WL_EXCLUDES(mutex);

    struct Interest {
        bool wantsRoom; ///< Something waits until the socket has room.
        bool isBroken;  ///< The connection is to be ended.
    };
    /// The intake thread turns to the peer. Until endTurn() nothing notifies it of the peer.
    void beginTurn(bool hasRoom) WL_EXCLUDES(mutex);
    [[nodiscard]] Interest endTurn() WL_EXCLUDES(mutex);
    /// Of the intake thread.
    void close() WL_EXCLUDES(mutex);
    [[nodiscard]] int socketDescriptor() const noexcept { return descriptor; }

    const Ref<UserShare> share;
    const Ref<ProcessShare> process;
    PeerIntakeState intake;
    PeerTurn turn; ///< Of PeerTurns.

private:
    enum class State {
        open,
        ending, ///< Takes no more, and ends when what waits has left.
        broken, ///< Nothing can be sent any more; the intake thread is to close it.
        closed
    };

    void flush() WL_REQUIRES(mutex);
    void flushSoon() WL_REQUIRES(mutex);
    void breakOff() WL_REQUIRES(mutex);
    void closeSocket() WL_REQUIRES(mutex);
    [[nodiscard]] std::size_t fewEnough() const noexcept;
    void notifyIfHeldBack();
    void notifyIntake();
    void chargeQueue() WL_REQUIRES(mutex);
    void chargeMemoryInSocket(std::size_t now) WL_REQUIRES(mutex);

    const Ref<ListenerCore> listener;
    const int descriptor; // the socket's number, as long as the intake thread has not closed it
    const PeerProcess client;
    std::atomic<std::uint64_t> toldVersion{0};
    std::atomic<std::size_t> messages{0};   // received and not yet released
    std::atomic<bool> waitsForFewer{false}; // the release that leaves few enough notifies the intake thread
    // Its part of what its user has.
    std::atomic<std::size_t> bytesReceived{0};
    std::atomic<std::size_t> bytesToSend{0};
    std::atomic<std::size_t> memoryInSocket{0};

    Mutex mutex;
    State state WL_GUARDED_BY(mutex) = State::open;
    SendQueue queue WL_GUARDED_BY(mutex);
    UniqueFd socket WL_GUARDED_BY(mutex); // closed by the intake thread, or by the last that sends
    std::uint64_t seenDescriptorCost WL_GUARDED_BY(mutex) = 0; // of what was sent, in memoryInSocket
    std::uint64_t sentWhenBlocked WL_GUARDED_BY(mutex) = 0;
    int unreadInSocket WL_GUARDED_BY(mutex) = 0;
    // When something of what was sent was last seen to be taken.
    std::chrono::steady_clock::time_point lastTaken WL_GUARDED_BY(mutex);
    bool isBlocked WL_GUARDED_BY(mutex) = false;  // the intake thread sends on when there is room
    bool isInTurn WL_GUARDED_BY(mutex) = false;   // the intake thread looks after it by itself
    bool isFlushDue WL_GUARDED_BY(mutex) = false; // a timer will send what is gathered
    std::thread::id gatheringThread WL_GUARDED_BY(mutex);
    bool gathersByTimer WL_GUARDED_BY(mutex) = false;
    std::vector<Handler<void()>> postponed WL_GUARDED_BY(mutex);
    struct Watched {
        const ReceivedMessage *message;
        std::uint64_t id; // 0: of a message that wants no reply
        Handler<void()> work;
    };
    std::vector<Watched> watched WL_GUARDED_BY(mutex); // few at a time
    // As many as messages are held at most. All that others cost is a look at whether there are any.
    std::set<std::uint64_t> cancelled WL_GUARDED_BY(mutex);
    std::atomic<bool> hasCancelled{false};
};

/// Bytes that count among what a peer sent as long as this lives.
class HeldBytes final : public Object {
public:
    HeldBytes(ListenerPeer &of, std::size_t count) : peer(&of), bytes(count) { peer->chargeReceived(bytes); }
    ~HeldBytes() override { peer->bytesReleased(bytes); }

private:
    const Ref<ListenerPeer> peer;
    const std::size_t bytes;
};

} // namespace wickerlane

#endif

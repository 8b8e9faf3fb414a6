// What stands behind a MessageListener.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_LISTENERCORE_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_LISTENERCORE_H

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>

#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/message/listener/PeerProcess.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/platform/message/wire/FrameReader.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/message/wire/SendQueue.h"

namespace wickerlane {

/// What one user has of a listener.
class UserShare final : public Object {
public:
    std::size_t connections = 0;               ///< Of the intake thread.
    std::atomic<std::size_t> receivedBytes{0}; ///< Of messages that are still held.
    std::atomic<std::size_t> queuedBytes{0};   ///< Of what waits to be sent.
    std::atomic<bool> held{false};             ///< A peer of the user is not read until something is freed.
};

class ListenerCore;
struct Refusal;

/// One client. The intake thread reads its socket; any thread answers.
class ListenerPeer final : public MessagePeer {
public:
    ListenerPeer(ListenerCore *owner, UniqueFd connected, PeerProcess peer, Ref<UserShare> user)
        : share(std::move(user)), listener(owner), socket(std::move(connected)), process(std::move(peer)) {}
    ~ListenerPeer() override;

    [[nodiscard]] const PeerIdentity &identity() const noexcept override { return process.identity; }
    [[nodiscard]] bool isAlive() const noexcept override { return process.isAlive(); }
    void send(MessageDictionary *message) override;
    void cancel() override;

    void transmit(const MessageEncoder &frame);
    void reply(std::uint64_t id, MessageDictionary *answer);
    void replyError(std::uint64_t id, std::string_view description, std::int64_t kind = 0);
    /// A message of that length is held no more.
    void freed(std::size_t length);
    /// A request has its answer, or is about to.
    void answered();

    /// Of the thread that holds it: answers to this peer wait until the work is over, so that they leave
    /// together, unless that takes longer than a moment.
    class Gathering {
    public:
        explicit Gathering(ListenerPeer *peer) noexcept;
        ~Gathering();
        Gathering(const Gathering &) = delete;
        Gathering &operator=(const Gathering &) = delete;

    private:
        friend class ListenerPeer;
        Ref<ListenerPeer> gatheredFor;
        Gathering *outer;
        std::chrono::steady_clock::time_point since{};
    };

    /// Of the intake thread while it serves this peer: afterwards it looks by itself whether the peer waits
    /// for room, and need not be told.
    class Serving {
    public:
        explicit Serving(const ListenerPeer *peer) noexcept;
        ~Serving();
        Serving(const Serving &) = delete;
        Serving &operator=(const Serving &) = delete;
    };

    const Ref<UserShare> share;
    FrameReader in;           ///< Of the intake thread.
    Ref<WorkQueue> ordered;   ///< Of the intake thread: null until the first message, if it is used at all.
    std::uint64_t number = 0; ///< Of the intake thread, like those that follow.
    bool admitted = false;
    std::uint32_t watched = 0; ///< Events it is registered for; 0: not registered.
    std::size_t reserved = 0;  ///< Bytes that the frame which has begun may take.
    std::chrono::steady_clock::time_point lastBytes{};
    std::atomic<std::size_t> unanswered{0};
    std::atomic<std::size_t> queuedBytes{0}; ///< Its part of the user's.

private:
    friend class ListenerCore;
    void flush(std::unique_lock<std::mutex> &lock);
    void close();
    /// Of what waits to be sent, so many bytes are gone.
    void sentBytes(std::size_t count) noexcept;

    const Ref<ListenerCore> listener;
    std::mutex mutex;
    UniqueFd socket; // closed by the intake thread, or by the last thread that sends
    SendQueue out;
    bool blocked = false; // the intake thread sends on when there is room
    bool ending = false;  // after what waits has left
    bool broken = false;  // nothing can be sent any more
    bool closed = false;
    const PeerProcess process;
};

/// Takes clients in and reads what they send, on a thread of its own.
class ListenerCore final : public Object {
public:
    ListenerCore(std::string serviceName, WorkQueue *handlerQueue, Handler<void(ReceivedMessage *)> handler,
                 MessageListener::Options chosen, UniqueFd bound, bool isManaged);
    ~ListenerCore() override;

    /// False when the process has no descriptors left.
    [[nodiscard]] bool prepare();
    void setPeerHandler(Handler<bool(MessagePeer *)> handler);
    void resume();
    /// Ends it. On another thread than the intake's, that is over when this returns.
    void cancel();
    /// Has the intake thread look anew at what it may do with the peers of a user.
    void attend(UserShare *share);
    [[nodiscard]] const MessageLimits &limits() const noexcept { return options.limits; }
    void messageHeld() noexcept { heldMessages.fetch_add(1, std::memory_order_relaxed); }
    void messageReleased() noexcept { heldMessages.fetch_sub(1, std::memory_order_relaxed); }

private:
    using Clock = std::chrono::steady_clock;
    using Peers = std::unordered_map<std::uint64_t, Ref<ListenerPeer>>;

    void run();
    void post(std::function<void()> work);
    void runPosted();
    [[nodiscard]] int timeToWait() const;
    [[nodiscard]] bool endIfIdle();
    void stopListening(const ServiceSocket &place);
    void acceptAll();
    void take(UniqueFd client);
    static void refuse(int client, const Refusal &why);
    void admit(const Ref<ListenerPeer> &peer, bool welcome);
    void onReady(const Ref<ListenerPeer> &peer, std::uint32_t events);
    [[nodiscard]] bool readFrom(const Ref<ListenerPeer> &peer);
    [[nodiscard]] bool takeFrames(const Ref<ListenerPeer> &peer, std::vector<Ref<ReceivedMessage>> &messages);
    [[nodiscard]] bool mayRead(ListenerPeer &peer);
    void hand(const Ref<ListenerPeer> &peer, std::vector<Ref<ReceivedMessage>> messages);
    void watch(ListenerPeer &peer);
    void drop(ListenerPeer &peer);
    void dropStalled();

    const std::string name;
    const Ref<WorkQueue> queue;
    const Handler<void(ReceivedMessage *)> messageHandler;
    const MessageListener::Options options;
    const bool managed;

    UniqueFd listening;
    UniqueFd epoll;
    UniqueFd wakeUp;
    UniqueFd spare; // given up to refuse a client when no descriptor is left
    Peers peers;    // of the intake thread, by their numbers
    std::map<uid_t, Ref<UserShare>> users;
    std::uint64_t lastNumber = 0;
    Clock::time_point idleSince{};
    bool anyInFrame = false;
    std::atomic<std::size_t> heldMessages{0};

    std::mutex mutex;
    Handler<bool(MessagePeer *)> peerHandler;
    std::vector<std::function<void()>> posted; // for the intake thread
    std::thread intake;
    bool cancelled = false;
    bool ended = false;
};

} // namespace wickerlane

#endif

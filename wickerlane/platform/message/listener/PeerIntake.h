// The peers of a listener, and what they send.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_PEERINTAKE_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_PEERINTAKE_H

#include <optional>
#include <unordered_map>
#include <vector>

#include "wickerlane/platform/message/listener/PeerTurns.h"

namespace wickerlane {

/// Reads the peers' sockets within the limits and dispatches their messages to the handler. Of the intake
/// thread.
///
///     a peer is watched for    when
///     room to send             its socket was full and something waits
///     input                    it is admitted, fewer of its messages than the limit are held, it leaves no
///                              answer unread while its user's waiting answers exceed the limit, and the
///                              shares of its user and its process have room for the message that it has
///                              begun to send, none that it has sent waits for room, and what it sends next
///                              does not bring descriptors past their limit
///     nothing                  else; it is then not registered, since its hang-up would be reported again
///                              and again
class PeerIntake {
public:
    using Clock = std::chrono::steady_clock;

    PeerIntake(ListenerCore *owner, WorkQueue *handlerQueue, Handler<void(ReceivedMessage *)> handler,
               const MessageListener::Options &chosen);

    [[nodiscard]] bool isEmpty() const noexcept { return peers.empty(); }
    [[nodiscard]] ListenerPeer *find(std::uint64_t number) const;
    void add(std::uint64_t number, Ref<ListenerPeer> peer);
    void disconnect(ListenerPeer &peer);
    void disconnectAll();
    /// Ends the connections on which a message was begun and nothing has come, or too much is unread and
    /// nothing has been taken, for too long. Finds out what has been read. Does so from time to time only,
    /// however often it is called.
    void lookAfterStalled();
    /// Somebody is kept waiting until more has been read.
    void lookAfterUnread() noexcept { anyUnread = true; }
    /// When to call lookAfterStalled() again; nothing when there is no need.
    [[nodiscard]] std::optional<Clock::time_point> nextLook() const;
    /// When the last peer went away.
    [[nodiscard]] Clock::time_point emptySince() const noexcept { return lastRemoval; }

    /// How many peers are ready at the same time. Where they are many, each gets a short turn.
    void setReadyCount(std::size_t count) noexcept { ready = count; }
    void onReady(const Ref<ListenerPeer> &peer, std::uint32_t events);
    /// Watches the peer for what it may do now.
    void watch(ListenerPeer &peer);
    /// Watches each peer of a user for what it may do now.
    void review(UserShare *share);

    UniqueFd poller;
    PeerShares shares;

private:
    using Messages = std::vector<Ref<ReceivedMessage>>;

    [[nodiscard]] bool mayRead(ListenerPeer &peer);
    [[nodiscard]] bool hasRoomFor(ListenerPeer &peer);
    [[nodiscard]] bool leavesUnread(const ListenerPeer &peer) const;
    [[nodiscard]] bool mayBringDescriptors(const ListenerPeer &peer) const;
    void countDescriptors(ListenerPeer &peer);
    [[nodiscard]] static bool fits(std::size_t held, std::size_t cost, std::size_t limit) noexcept {
        return held == 0 || held + cost <= limit;
    }
    [[nodiscard]] bool mayHandle(const ListenerPeer &peer) const;
    enum class Waiting { taken, waits, malformed };
    [[nodiscard]] Waiting takeWaiting(const Ref<ListenerPeer> &peer, Messages &messages);
    [[nodiscard]] bool measure(ListenerPeer &peer) const;
    [[nodiscard]] bool takeFrames(const Ref<ListenerPeer> &peer);
    [[nodiscard]] bool readFrom(const Ref<ListenerPeer> &peer);
    [[nodiscard]] bool decodeFrames(const Ref<ListenerPeer> &peer, Messages &messages);
    void dispatch(const Ref<ListenerPeer> &peer, Messages messages);
    void handleAtOnce(ListenerPeer &peer, Messages &messages);
    void handleInOrder(ListenerPeer &peer, Messages messages) const;

    ListenerCore *const listener; // which owns this
    WorkQueue *const queue;
    const Handler<void(ReceivedMessage *)> messageHandler;
    const MessageListener::Options &options;
    const Ref<PeerTurns> turns;                                 // null where peers have no order of their own
    std::unordered_map<std::uint64_t, Ref<ListenerPeer>> peers; // by their numbers
    Clock::time_point lastRemoval{};
    std::size_t ready = 0;
    bool anyMidMessage = false;
    bool anyUnread = false;
    Clock::time_point lastLook{};
};

} // namespace wickerlane

#endif

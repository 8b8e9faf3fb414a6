// What the handler of a listener gets.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_LISTENERMESSAGE_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_LISTENERMESSAGE_H

#include "wickerlane/platform/message/listener/ListenerPeer.h"

namespace wickerlane {

/// A received message. As long as it lives it counts among what its user and the listener hold.
class ListenerMessage final : public ReceivedMessage {
public:
    ListenerMessage(Ref<ListenerPeer> from, Ref<MessageDictionary> contents, const FrameHeader &header,
                    std::size_t cost, ListenerCore *owner);
    ~ListenerMessage() override;

    [[nodiscard]] MessageDictionary *message() const noexcept override { return received.get(); }
    [[nodiscard]] MessagePeer *peer() const noexcept override { return sender.get(); }
    [[nodiscard]] bool wantsReply() const noexcept override { return isRequest; }
    [[nodiscard]] bool isCancelled() override { return isRequest && sender->isCancelled(id); }
    [[nodiscard]] bool whenUnwanted(Handler<void()> work) override;
    void reply(MessageDictionary *answer) override;
    void replyError(std::string_view description, std::int64_t kind) override;

private:
    /// Whether the caller is the one to answer: the first who asks.
    [[nodiscard]] bool claimAnswer();

    const Ref<ListenerPeer> sender;
    Ref<MessageDictionary> received;
    const std::uint64_t id;
    const std::size_t charged;
    const bool isRequest;
    std::atomic<bool> isAnswered{false};
    std::atomic<bool> isWatched{false}; // by whenUnwanted()
    const Ref<ListenerCore> listener;
};

} // namespace wickerlane

#endif

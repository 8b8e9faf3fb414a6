#include "wickerlane/platform/message/listener/ListenerMessage.h"

#include "wickerlane/platform/message/listener/ListenerCore.h"

namespace wickerlane {

constinit const Class ReceivedMessage::classInfo{"ReceivedMessage", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(ReceivedMessage);

ListenerMessage::ListenerMessage(Ref<ListenerPeer> from, Ref<MessageDictionary> contents,
                                 const FrameHeader &header, std::size_t cost, ListenerCore *owner)
    : sender(std::move(from)), received(std::move(contents)), id(header.id), charged(cost),
      isRequest(header.kind == FrameKind::request), listener(owner) {
    listener->messageHeld();
    sender->messageHeld(charged);
}

ListenerMessage::~ListenerMessage() {
    if (claimAnswer())
        sender->replyError(id, "The service did not answer.", 0);
    if (isWatched.load())
        sender->forgetWatched(this);
    if (isRequest)
        sender->forgetCancelled(id);
    received = nullptr;
    sender->messageReleased(charged);
    listener->messageReleased();
}

bool ListenerMessage::whenUnwanted(Handler<void()> work) {
    isWatched = true;
    return sender->watch(this, isRequest ? id : 0, std::move(work));
}

void ListenerMessage::reply(MessageDictionary *answer) {
    if (claimAnswer())
        sender->reply(id, answer);
}

void ListenerMessage::replyError(std::string_view description, std::int64_t kind) {
    if (claimAnswer())
        sender->replyError(id, description, kind);
}

bool ListenerMessage::claimAnswer() {
    return isRequest && !isAnswered.exchange(true);
}

} // namespace wickerlane

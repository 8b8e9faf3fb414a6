// A request to hoardd and its reply, as the client's operations use them.
#ifndef WICKERLANE_CLIENT_REQUEST_H
#define WICKERLANE_CLIENT_REQUEST_H

#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Operation.h"

namespace wickerlane::client {

/// What came back: a dictionary, an error of the message service, or something else. Its readers are total:
/// on any kind they give the value or its absence, since several operations never ask for the kind.
class Reply {
public:
    explicit Reply(Ref<MessageValue> received) noexcept : value(std::move(received)) {}

    [[nodiscard]] bool isError() const noexcept { return as<MessageError>(value.get()) != nullptr; }
    [[nodiscard]] bool isDictionary() const noexcept { return as<MessageDictionary>(value.get()) != nullptr; }

    /// The value under a key; views of received data keep what they need alive.
    template <class Coding>
    [[nodiscard]] auto get(const protocol::Key<Coding> &key) const {
        return Coding::read(value.get(), key.text);
    }
    template <class Coding>
    [[nodiscard]] bool has(const protocol::Key<Coding> &key) const {
        const auto *dictionary = as<MessageDictionary>(value.get());
        return dictionary != nullptr && dictionary->contains(key.text);
    }
    /// The description text of an error; null for other kinds.
    [[nodiscard]] String *errorDescription() const {
        return JXStringFromMsgDictionary(value.get(), messageErrorDescriptionKey);
    }

private:
    Ref<MessageValue> value;
};

/// A request that is filled key by key, in the order of its row, and sent by one of three verbs. Sending does
/// not use it up, but it must not be changed afterwards. One thread at a time.
class Request {
public:
    explicit Request(const protocol::Operation &row) : message(MessageDictionary::create()) {
        set(protocol::keys::operation, row.code);
    }

    template <class Coding>
    Request &set(const protocol::Key<Coding> &key, std::type_identity_t<typename Coding::Write> value) {
        Coding::write(message.get(), key.text, value);
        return *this;
    }

    /// Sends without reply.
    void send(MessageConnection *connection) const { connection->send(message.get()); }
    /// Sends; the handler gets the reply on `queue`.
    void sendWithReply(MessageConnection *connection, WorkQueue *queue,
                       Handler<void(const Reply &)> handler) const {
        connection->sendWithReply(message.get(), queue, [handler = std::move(handler)](MessageValue *reply) {
            handler(Reply(reply));
        });
    }
    /// Sends, and blocks until the reply is there.
    [[nodiscard]] Reply sendAndWait(MessageConnection *connection) const {
        return Reply(connection->sendWithReplySync(message.get()));
    }

private:
    Ref<MessageDictionary> message;
};

} // namespace wickerlane::client

#endif

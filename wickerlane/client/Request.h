// Requests to hoardd, and their replies.
#ifndef WICKERLANE_CLIENT_REQUEST_H
#define WICKERLANE_CLIENT_REQUEST_H

#include "wickerlane/client/LastError.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::client {

/// What came back: a dictionary, an error of the message service, or something else. Its readers accept all
/// three, and find nothing in the last two, since several operations never check the kind.
class Reply {
public:
    explicit Reply(Ref<MessageValue> received) noexcept : value(std::move(received)) {}

    /// Null when it is no error.
    [[nodiscard]] const MessageError *error() const noexcept { return as<MessageError>(value.get()); }
    [[nodiscard]] bool isError() const noexcept { return error() != nullptr; }
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
    /// Why hoardd says no in it; nothing when it does not say so.
    [[nodiscard]] std::optional<Problem> problem() const { return problemIn(value.get()); }
    /// As lastError() would give it, borrowed; null when it is none.
    [[nodiscard]] Error *requestError() const { return errorIn(value.get()); }
    /// The description text of an error; null for other kinds.
    [[nodiscard]] String *errorDescription() const {
        return JXStringFromMsgDictionary(value.get(), messageErrorDescriptionKey);
    }

private:
    Ref<MessageValue> value;
};

/// A request that is filled key by key, in the order of its row, and sent by one of three verbs. It can be
/// sent more than once, but must not be changed after the first time. One thread at a time.
///
/// Each request is a local variable or a temporary of its operation and is its release scope: what is
/// autoreleased while it lives goes with it, save the one object that handOver() passes on to the caller.
class Request {
public:
    explicit Request(const protocol::Row &row) : message(MessageDictionary::create()) {
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
            const HandledReply handled(reply);
            handler(Reply(reply));
        });
    }
    /// Sends, and blocks until the reply is there. An error becomes the last one of this thread.
    [[nodiscard]] Reply sendAndWait(MessageConnection *connection) const {
        Ref<MessageValue> reply = connection->sendWithReplySync(message.get());
        noteOutcome(reply.get());
        return Reply(std::move(reply));
    }

    /// Ends the release scope, and gives a borrowed result to the caller's scope. Null gives null.
    template <class T>
    [[nodiscard]] T *handOver(T *result) {
        return scope.handOver(result);
    }

private:
    ReleaseScope scope;
    Ref<MessageDictionary> message;
};

} // namespace wickerlane::client

#endif

// One request that is being served.
#ifndef HOARDD_SERVICE_CALL_H
#define HOARDD_SERVICE_CALL_H

#include <type_traits>

#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/protocol/Keys.h"

namespace wickerlane::hoardd {

/// The reply to a call, filled key by key.
class Answer {
public:
    Answer() : message(MessageDictionary::create()) {}

    template <class Coding>
    Answer &set(const protocol::Key<Coding> &key, std::type_identity_t<typename Coding::Write> value) {
        Coding::write(message.get(), key.text, value);
        return *this;
    }
    /// A value that is already in the form in which it travels.
    template <class Coding>
    Answer &setValue(const protocol::Key<Coding> &key, MessageValue *value) {
        message->set(key.text, value);
        return *this;
    }

private:
    friend class Call;
    Ref<MessageDictionary> message;
};

/// A received request, as its handler sees it. Copies stand for the same request, which is answered once: by
/// the first answer() or refuse(), or with an error when the last copy goes away unanswered. Any thread.
class Call {
public:
    explicit Call(ReceivedMessage *message) : received(message) {}

    template <class Coding>
    [[nodiscard]] auto get(const protocol::Key<Coding> &key) const {
        return Coding::read(received->message(), key.text);
    }
    /// The raw value under a key; null when it is missing.
    template <class Coding>
    [[nodiscard]] MessageValue *value(const protocol::Key<Coding> &key) const {
        return received->message()->get(key.text);
    }
    [[nodiscard]] MessageDictionary *message() const noexcept { return received->message(); }
    [[nodiscard]] const PeerIdentity &peer() const noexcept { return received->peer()->identity(); }

    void answer(const Answer &answer) const { received->reply(answer.message.get()); }
    /// Answers with an error that says why.
    void refuse(std::string_view why) const { received->replyError(why); }
    /// Answers when there is no problem, else refuses with it.
    void finish(std::string_view problem, const Answer &done = {}) const {
        problem.empty() ? answer(done) : refuse(problem);
    }

private:
    Ref<ReceivedMessage> received;
};

} // namespace wickerlane::hoardd

#endif

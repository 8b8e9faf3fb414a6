// What an operation of hoardd gives back.
#ifndef HOARDD_SERVICE_ANSWER_H
#define HOARDD_SERVICE_ANSWER_H

#include <type_traits>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/protocol/Keys.h"

namespace wickerlane::hoardd {

/// The reply to a request, filled key by key.
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

/// The empty answer to what had to be done, or the problem.
[[nodiscard]] inline Result<Answer> whenDone(const Result<> &done) {
    if (!done)
        return passOn(done);
    return Answer();
}

} // namespace wickerlane::hoardd

#endif

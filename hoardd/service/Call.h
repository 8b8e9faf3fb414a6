// One request that is being served.
#ifndef HOARDD_SERVICE_CALL_H
#define HOARDD_SERVICE_CALL_H

#include <exception>

#include "hoardd/service/CurrentCall.h"
#include "hoardd/service/Operation.h"
#include "hoardd/service/Traffic.h"
#include "wickerlane/platform/message/listener/MessageListener.h"

namespace wickerlane::hoardd {

/// A received request, as its handler sees it. Copies stand for the same request, which is answered once: by
/// the first answer() or refuse(), or with an error when the last copy goes away unanswered. Any thread.
class Call {
public:
    explicit Call(ReceivedMessage *message) : received(message) {}
    /// The same request, which is served by an operation.
    [[nodiscard]] Call servedBy(const Operation &operation) const {
        Call call(*this);
        call.served = &operation;
        return call;
    }

    /// The same request, which is noted together with its answer.
    [[nodiscard]] Call noted(const protocol::Row *row, bool isAllowed) const {
        return Call(Traffic::ofProcess().note(received.get(), row, isAllowed).get());
    }

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
    [[nodiscard]] PeerVersion version() const noexcept { return received->peer()->version(); }
    [[nodiscard]] bool wantsReply() const noexcept { return received->wantsReply(); }
    /// As MessagePeer has it.
    [[nodiscard]] bool postponeUntilRead(Handler<void()> work) const {
        return received->peer()->postponeUntilRead(std::move(work));
    }
    /// False when the connection is over or the caller has cancelled the request: nothing reads the answer.
    [[nodiscard]] bool isAwaited() const { return received->peer()->isConnected() && !isCancelled(); }
    [[nodiscard]] bool isCancelled() const { return received->isCancelled(); }
    /// Has this thread work for the request, see CurrentCall. The call must outlive it.
    [[nodiscard]] CurrentCall workedFor() const { return CurrentCall(received.get()); }
    /// How far the work for another request of the same connection is, see CurrentCall.
    [[nodiscard]] WorkDone doneOnConnection() const { return CurrentCall::doneFor(received->peer()); }
    /// As ReceivedMessage has it.
    [[nodiscard]] bool whenUnwanted(Handler<void()> work) const {
        return received->whenUnwanted(std::move(work));
    }
    /// Whether the caller has this process's rights to files, so that files may be read for it.
    [[nodiscard]] bool mayReadFiles() const noexcept;

    void answer(const Answer &answer) const { received->reply(answer.message.get()); }
    /// Answers with the operation's own refusal, else with an error. Logs it, since many callers get no
    /// reply, or only one that something went wrong.
    void refuse(const Problem &problem) const;
    void finish(const Result<Answer> &result) const { result ? answer(*result) : refuse(result.error()); }

private:
    Ref<ReceivedMessage> received;
    const Operation *served = nullptr;
};

/// What `work`, which gives a result, gives, or the exception that it throws as a problem.
template <class Work>
auto withoutExceptions(const Work &work) -> decltype(work()) {
    try {
        return work();
    } catch (const std::exception &failure) {
        return fail(ProblemKind::failed, failure.what());
    }
}

} // namespace wickerlane::hoardd

#endif

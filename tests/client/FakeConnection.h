// A connection that records what is sent and answers from a script.
#ifndef WICKERLANE_TESTS_CLIENT_FAKECONNECTION_H
#define WICKERLANE_TESTS_CLIENT_FAKECONNECTION_H

#include <functional>
#include <string>
#include <vector>

#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/queue/Semaphore.h"

namespace wickerlane::test {

/// An object's description without line breaks and with single spaces; "null" for null.
std::string onOneLine(const Object *object);

/// A message as one line: each entry in order, as `key:kind=value`.
std::string describe(const MessageDictionary *message);

class FakeConnection final : public MessageConnection {
public:
    struct Sent {
        std::string mode; ///< "none", "sync", or "async on <queue's label or global>".
        std::string text; ///< As describe() gives it.
    };
    std::vector<Sent> sent;
    /// Makes the reply to each message that wants one.
    std::function<Ref<MessageValue>(const MessageDictionary *)> answer = [](const MessageDictionary *) {
        return Ref<MessageValue>(MessageDictionary::create());
    };

    /// Each send autoreleases an object; this many of them are alive.
    int livingTemporaries = 0;

    /// Signalled when a reply handler has returned.
    const Ref<Semaphore> delivered = Semaphore::create(0);

    void setEventHandler(Handler<void(MessageValue *)>) override {}
    void setIdleTime(std::chrono::milliseconds) override {}
    std::chrono::nanoseconds timeLimit{};
    void setReplyTimeLimit(std::chrono::nanoseconds limit) override { timeLimit = limit; }
    void resume() override {}
    void send(MessageDictionary *message) override { record("none", message); }
    void sendWithReply(MessageDictionary *message, WorkQueue *queue,
                       Handler<void(MessageValue *)> handler) override {
        record(queue == WorkQueue::global() ? "async on global" : std::string("async on ") + queue->label(),
               message);
        queue->async([handler, reply = answer(message), done = delivered] {
            handler(reply.get());
            done->signal();
        });
    }
    [[nodiscard]] Ref<MessageValue> sendWithReplySync(MessageDictionary *message) override {
        record("sync", message);
        return answer(message);
    }
    /// Runs before the barrier's handler, on the same thread.
    std::function<void()> beforeBarrier = [] {};
    void sendBarrier(Handler<void()> handler) override {
        sent.push_back({"barrier", ""});
        WorkQueue::global()->async([handler, before = beforeBarrier] {
            before();
            handler();
        });
    }
    void cancel() override {}
    [[nodiscard]] const char *serviceName() const noexcept override { return "fake"; }
    PeerVersion version = PeerVersion::own();
    [[nodiscard]] PeerVersion serviceVersion() const override { return version; }

private:
    struct Temporary final : Object {
        int &living;
        explicit Temporary(int &counter) : living(counter) { ++living; }
        ~Temporary() override { --living; }
    };

    void record(std::string mode, const MessageDictionary *message) {
        autorelease(makeRef<Temporary>(livingTemporaries));
        sent.push_back({std::move(mode), describe(message)});
    }
};

} // namespace wickerlane::test

#endif

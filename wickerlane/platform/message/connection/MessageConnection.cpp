#include "wickerlane/platform/message/connection/MessageConnection.h"

#include "wickerlane/platform/message/connection/ConnectionCore.h"

namespace wickerlane {

constinit const Class MessageConnection::classInfo{"MessageConnection", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessageConnection);

namespace {

// What users hold. Timers and the reader thread hold the core alone, so that letting go of this ends
// everything.
class ConnectionHandle final : public MessageConnection {
public:
    ConnectionHandle(const char *serviceName, WorkQueue *target)
        : core(makeRef<ConnectionCore>(serviceName, target)) {}
    ~ConnectionHandle() override { core->abandon(); }

    void setEventHandler(Handler<void(MessageValue *)> handler) override {
        core->setEventHandler(std::move(handler));
    }
    void setIdleTime(std::chrono::milliseconds time) override { core->setIdleTime(time); }
    void setReplyTimeLimit(std::chrono::nanoseconds limit) override { core->setReplyTimeLimit(limit); }
    void resume() override { core->resume(); }
    // The last release may come while one of these is at work: what ends a session lets go of its handlers.
    void send(MessageDictionary *message) override { Ref(core)->send(message); }
    void sendWithReply(MessageDictionary *message, WorkQueue *queue,
                       Handler<void(MessageValue *)> handler) override {
        Ref(core)->send(message, queue, std::move(handler));
    }
    Ref<MessageValue> sendWithReplySync(MessageDictionary *message) override {
        return Ref(core)->sendSync(message);
    }
    void sendBarrier(Handler<void()> handler) override { core->sendBarrier(std::move(handler)); }
    void cancel() override { Ref(core)->cancel(); }
    [[nodiscard]] const char *serviceName() const noexcept override { return core->serviceName(); }
    [[nodiscard]] PeerVersion serviceVersion() const override { return core->serviceVersion(); }

private:
    const Ref<ConnectionCore> core;
};

} // namespace

Ref<MessageConnection> MessageConnection::create(const char *serviceName, WorkQueue *target,
                                                 std::uint64_t flags) {
    if (flags != 0)
        return nullptr;
    return makeRef<ConnectionHandle>(serviceName, target);
}

} // namespace wickerlane

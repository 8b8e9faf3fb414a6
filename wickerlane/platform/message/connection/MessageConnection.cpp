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
    void resume() override { core->resume(); }
    void send(MessageDictionary *message) override { core->send(message); }
    void sendWithReply(MessageDictionary *message, WorkQueue *queue,
                       Handler<void(MessageValue *)> handler) override {
        core->send(message, queue, std::move(handler));
    }
    Ref<MessageValue> sendWithReplySync(MessageDictionary *message) override {
        const Ref<ConnectionCore> kept = core; // the last release may come while this waits
        return kept->sendSync(message);
    }
    void sendBarrier(Handler<void()> handler) override { core->sendBarrier(std::move(handler)); }
    void cancel() override { core->cancel(); }
    [[nodiscard]] const char *serviceName() const noexcept override { return core->serviceName(); }

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

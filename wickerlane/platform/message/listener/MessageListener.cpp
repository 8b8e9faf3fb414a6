#include "wickerlane/platform/message/listener/MessageListener.h"

#include <cerrno>
#include <cstring>

#include "wickerlane/platform/message/listener/ListenerCore.h"
#include "wickerlane/platform/message/service/InheritedSocket.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"

namespace wickerlane {

constinit const Class MessageListener::classInfo{"MessageListener", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessageListener);

namespace {

class ListenerHandle final : public MessageListener {
public:
    explicit ListenerHandle(Ref<ListenerCore> made) : core(std::move(made)) {}
    ~ListenerHandle() override { core->cancel(); }
    void setPeerHandler(Handler<bool(MessagePeer *)> handler) override {
        core->setPeerHandler(std::move(handler));
    }
    bool resume() override { return core->resume(); }
    void cancel() override { core->cancel(); }

private:
    const Ref<ListenerCore> core;
};

UniqueFd bindName(const char *serviceName, std::string &reason) {
    const ServiceSocket place(serviceName);
    const UniqueFd lock = place.lock();
    if (lock && place.connect()) {
        reason = "the name is taken by a service that runs";
        return {};
    }
    UniqueFd socket = lock ? place.listen() : UniqueFd();
    if (!socket)
        reason = std::string("the socket can't be made: ") + std::strerror(errno);
    return socket;
}

} // namespace

Ref<MessageListener> MessageListener::create(const char *serviceName, WorkQueue *queue,
                                             Handler<void(ReceivedMessage *)> handler, Options options,
                                             std::string *error) {
    std::string reason;
    UniqueFd socket;
    bool isManaged = false;
    if (serviceName == nullptr || !isServiceName(serviceName)) {
        reason = "no such name can be taken";
    } else {
        auto inherited = takeInheritedSocket(serviceName);
        isManaged = inherited.isManaged;
        socket = inherited.socket ? std::move(inherited.socket) : bindName(serviceName, reason);
    }
    Ref<ListenerCore> core;
    if (socket) {
        core = makeRef<ListenerCore>(serviceName, queue, std::move(handler), std::move(options),
                                     std::move(socket), isManaged);
        if (!core->prepare()) {
            reason = std::string("no descriptors: ") + std::strerror(errno);
            core = nullptr;
        }
    }
    if (core == nullptr) {
        if (error != nullptr)
            *error = std::move(reason);
        return nullptr;
    }
    return makeRef<ListenerHandle>(std::move(core));
}

} // namespace wickerlane

#include "wickerlane/platform/message/listener/MessageListener.h"

#include <poll.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

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
    [[nodiscard]] std::size_t heldMessages() const noexcept override { return core->heldCount(); }
    bool resume() override { return core->resume(); }
    void cancel() override { core->cancel(); }

private:
    const Ref<ListenerCore> core;
};

/// Whether a service runs. A process that was killed may have left its socket to a child that has yet to run
/// another program: nobody answers there, and it closes soon.
bool isServed(const ServiceSocket &place) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds patience{1};
    const auto deadline = Clock::now() + patience;
    while (const UniqueFd client = place.connect()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd said{.fd = client.get(), .events = POLLIN, .revents = 0};
        // A service says at once that it is there, or that it refuses.
        if (left.count() <= 0 || ::poll(&said, 1, static_cast<int>(left.count())) <= 0)
            return true;
        char first = 0;
        if (::recv(client.get(), &first, 1, MSG_PEEK | MSG_DONTWAIT) > 0)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

UniqueFd bindName(const char *serviceName, std::string &reason) {
    const ServiceSocket place(serviceName);
    const UniqueFd lock = place.lock();
    if (lock && isServed(place)) {
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

#include "wickerlane/platform/message/listener/Admission.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>

#include "wickerlane/platform/message/listener/ListenerCore.h"

namespace wickerlane {

// Why a client gets no connection.
struct Refusal {
    std::string_view text;
    std::int64_t kind;
};

namespace {

// The numbers that the model gives to these kinds of problems.
constexpr std::int64_t kindFailed = 0;
constexpr std::int64_t kindRefused = 3;
constexpr std::int64_t kindBusy = 4;

constexpr Refusal noDescriptors{"The service has no file descriptors left.", kindBusy};
constexpr Refusal tooManyOfProcess{"The process has too many connections to the service.", kindBusy};
constexpr Refusal tooManyOfUser{"The user has too many connections to the service.", kindBusy};
constexpr Refusal unknownProcess{"The service could not tell which process asks.", kindFailed};
constexpr Refusal notWelcome{"The service refuses this process.", kindRefused};

bool isOutOfDescriptors(int error) {
    return error == EMFILE || error == ENFILE;
}

} // namespace

bool Admission::prepare() {
    spare.reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
    return static_cast<bool>(spare);
}

void Admission::end() {
    spare.reset();
    setPeerHandler(nullptr);
}

void Admission::setPeerHandler(Handler<bool(MessagePeer *)> handler) {
    const MutexLock lock(mutex);
    peerHandler = std::move(handler);
}

void Admission::acceptAll(int listening) {
    constexpr int maxAtOnce = 64; // so that those who are connected get their turn
    for (int i = 0; i < maxAtOnce; ++i) {
        UniqueFd client(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
        if (client) {
            consider(std::move(client));
            continue;
        }
        if (errno == EINTR || errno == ECONNABORTED)
            continue;
        if (!isOutOfDescriptors(errno))
            return;
        spare.reset();
        client.reset(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
        if (client)
            refuse(client.get(), noDescriptors);
        client.reset();
        spare.reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!spare)
            return;
    }
}

void Admission::consider(UniqueFd client) {
    auto process = identifyPeer(client.get());
    if (!process)
        return refuse(client.get(), isOutOfDescriptors(errno) ? noDescriptors : unknownProcess);
    const Ref<UserShare> user = intake.shares.of(process->identity.user);
    const Ref<ProcessShare> ofProcess = intake.shares.ofProcess(process->identity.process);
    if (ofProcess->connections == limits.connections)
        return refuse(client.get(), tooManyOfProcess);
    ++user->connections;
    ++ofProcess->connections;
    if (user->connections > limits.connectionsOfUser) {
        intake.shares.disconnected(*user, *ofProcess);
        return refuse(client.get(), tooManyOfUser);
    }
    // Twice what the kernel gives by itself, so that long answers take half as many turns.
    constexpr int sendBytes = 208 * 1024;
    setsockopt(client.get(), SOL_SOCKET, SO_SNDBUF, &sendBytes, sizeof sendBytes);
    const auto peer =
        makeRef<ListenerPeer>(listener, std::move(client), std::move(*process), user, ofProcess);
    intake.add(++lastNumber, peer);
    Handler<bool(MessagePeer *)> handler;
    {
        const MutexLock lock(mutex);
        handler = peerHandler;
    }
    if (!handler)
        return conclude(peer, true);
    if (queue == nullptr)
        return conclude(peer, handler(peer.get()));
    queue->async([this, owner = Ref<ListenerCore>(listener), peer, handler] {
        const bool isWelcome = handler(peer.get());
        owner->post([this, peer, isWelcome] { conclude(peer, isWelcome); });
    });
}

void Admission::conclude(const Ref<ListenerPeer> &peer, bool isWelcome) {
    if (intake.find(peer->intake.number) == nullptr)
        return;
    if (!isWelcome) {
        refuse(peer->socketDescriptor(), notWelcome);
        return intake.disconnect(*peer);
    }
    peer->intake.isAdmitted = true;
    MessageEncoder frame;
    frame.encodeHello(version);
    peer->transmit(frame);
    intake.watch(*peer);
}

void Admission::refuse(int client, const Refusal &why) {
    MessageEncoder frame;
    frame.encodeRefusal(why.text, why.kind);
    [[maybe_unused]] const ssize_t ignored =
        ::send(client, frame.gathered().data(), frame.gathered().size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

} // namespace wickerlane

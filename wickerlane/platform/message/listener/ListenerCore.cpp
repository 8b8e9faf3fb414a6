#include "wickerlane/platform/message/listener/ListenerCore.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <cerrno>
#include <optional>

#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessTransaction.h"

namespace wickerlane {

constinit const Class ReceivedMessage::classInfo{"ReceivedMessage", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(ReceivedMessage);

namespace {

// What epoll tells of besides peers, whose numbers begin above.
constexpr std::uint64_t listeningNumber = 0;
constexpr std::uint64_t wakeNumber = 1;

class ListenerMessage final : public ReceivedMessage {
public:
    ListenerMessage(Ref<ListenerPeer> from, Ref<MessageDictionary> contents, const FrameHeader &header,
                    ListenerCore *owner)
        : sender(std::move(from)), received(std::move(contents)), id(header.id), length(header.length),
          request(header.kind == FrameKind::request), listener(owner) {
        listener->messageHeld();
        if (request)
            sender->unanswered.fetch_add(1);
    }
    ~ListenerMessage() override {
        if (takeAnswer())
            sender->replyError(id, "The service did not answer.");
        received = nullptr;
        sender->freed(length);
        listener->messageReleased();
    }

    [[nodiscard]] MessageDictionary *message() const noexcept override { return received.get(); }
    [[nodiscard]] MessagePeer *peer() const noexcept override { return sender.get(); }
    [[nodiscard]] bool wantsReply() const noexcept override { return request; }
    void reply(MessageDictionary *answer) override {
        if (takeAnswer())
            sender->reply(id, answer);
    }
    void replyError(std::string_view description, std::int64_t kind) override {
        if (takeAnswer())
            sender->replyError(id, description, kind);
    }

private:
    // Whether the caller is the one to answer.
    bool takeAnswer() {
        if (!request || answered.exchange(true))
            return false;
        sender->answered();
        return true;
    }

    const Ref<ListenerPeer> sender;
    Ref<MessageDictionary> received;
    const std::uint64_t id;
    const std::size_t length;
    const bool request;
    std::atomic<bool> answered{false};
    const Ref<ListenerCore> listener;
};

} // namespace

ListenerCore::ListenerCore(std::string serviceName, WorkQueue *handlerQueue,
                           Handler<void(ReceivedMessage *)> handler, MessageListener::Options chosen,
                           UniqueFd bound, bool isManaged)
    : name(std::move(serviceName)), queue(handlerQueue), messageHandler(std::move(handler)),
      options(std::move(chosen)), managed(isManaged), listening(std::move(bound)), lastNumber(wakeNumber) {
}

ListenerCore::~ListenerCore() {
    if (intake.joinable())
        intake.detach();
}

bool ListenerCore::prepare() {
    epoll.reset(epoll_create1(EPOLL_CLOEXEC));
    wakeUp.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    spare.reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!epoll || !wakeUp || !spare || fcntl(listening.get(), F_SETFL, O_NONBLOCK) != 0)
        return false;
    epoll_event event{.events = EPOLLIN, .data = {.u64 = listeningNumber}};
    if (epoll_ctl(epoll.get(), EPOLL_CTL_ADD, listening.get(), &event) != 0)
        return false;
    event.data.u64 = wakeNumber;
    return epoll_ctl(epoll.get(), EPOLL_CTL_ADD, wakeUp.get(), &event) == 0;
}

void ListenerCore::setPeerHandler(Handler<bool(MessagePeer *)> handler) {
    const std::lock_guard lock(mutex);
    peerHandler = std::move(handler);
}

void ListenerCore::resume() {
    const std::lock_guard lock(mutex);
    if (cancelled || intake.joinable())
        return;
    intake = std::thread([self = Ref<ListenerCore>(this)] { self->run(); });
}

void ListenerCore::cancel() {
    std::thread finishing;
    {
        const std::lock_guard lock(mutex);
        const bool first = !std::exchange(cancelled, true);
        if (wakeUp)
            eventfd_write(wakeUp.get(), 1);
        if (!intake.joinable()) {
            if (first) { // never resumed
                listening.reset();
                ended = true;
            }
            return;
        }
        finishing = std::move(intake);
    }
    if (finishing.get_id() == std::this_thread::get_id())
        finishing.detach();
    else
        finishing.join();
}

void ListenerCore::post(std::function<void()> work) {
    const std::lock_guard lock(mutex);
    if (ended)
        return;
    posted.push_back(std::move(work));
    eventfd_write(wakeUp.get(), 1);
}

void ListenerCore::attend(UserShare *share) {
    post([this, share = Ref<UserShare>(share)] {
        share->held = false;
        std::vector<Ref<ListenerPeer>> concerned;
        for (const auto &[number, peer] : peers)
            if (peer->share == share)
                concerned.push_back(peer);
        for (const auto &peer : concerned)
            watch(*peer);
    });
}

void ListenerCore::runPosted() {
    eventfd_t count = 0;
    eventfd_read(wakeUp.get(), &count);
    std::vector<std::function<void()>> work;
    {
        const std::lock_guard lock(mutex);
        work.swap(posted);
    }
    for (const auto &each : work)
        each();
}

void ListenerCore::run() {
    const ServiceSocket place(name);
    idleSince = Clock::now();
    bool idle = false;
    for (;;) {
        {
            const std::lock_guard lock(mutex);
            if (cancelled)
                break;
        }
        const ReleaseScope scope;
        epoll_event events[64];
        const int count = epoll_wait(epoll.get(), events, std::size(events), timeToWait());
        for (int i = 0; i < count; ++i) {
            const std::uint64_t number = events[i].data.u64;
            if (number == listeningNumber)
                acceptAll();
            else if (number == wakeNumber)
                runPosted();
            else if (const auto found = peers.find(number); found != peers.end())
                onReady(Ref(found->second), events[i].events);
        }
        if (anyInFrame)
            dropStalled();
        if (endIfIdle()) {
            idle = true;
            break;
        }
    }
    if (!idle)
        stopListening(place);
    while (!peers.empty())
        drop(*Ref(peers.begin()->second));
    runPosted();
    {
        const std::lock_guard lock(mutex);
        ended = true;
        epoll.reset();
        wakeUp.reset();
        spare.reset();
        peerHandler = nullptr;
    }
    if (!idle || !options.idle)
        return;
    if (queue != nullptr)
        queue->async(options.idle);
    else
        options.idle();
}

int ListenerCore::timeToWait() const {
    using std::chrono::milliseconds;
    constexpr milliseconds stalledCheck{1000};
    milliseconds wait{-1};
    if (options.idleTime.count() > 0 && peers.empty())
        wait = std::max(milliseconds(0),
                        std::chrono::ceil<milliseconds>(idleSince + options.idleTime - Clock::now()));
    else if (anyInFrame)
        wait = std::min(stalledCheck, options.limits.stalledMessage);
    return static_cast<int>(wait.count());
}

void ListenerCore::stopListening(const ServiceSocket &place) {
    const UniqueFd lock = place.lock();
    if (!managed)
        place.remove();
    listening.reset();
}

bool ListenerCore::endIfIdle() {
    if (options.idleTime.count() <= 0 || !peers.empty() || Clock::now() < idleSince + options.idleTime)
        return false;
    if (processTransactionCount() != 0 || heldMessages.load() != 0) {
        idleSince = Clock::now();
        return false;
    }
    // A starter waits for the lock and then finds the name free; whoever stands in the queue already is
    // served.
    const ServiceSocket place(name);
    const UniqueFd lock = place.lock();
    pollfd waiting{.fd = listening.get(), .events = POLLIN, .revents = 0};
    if (poll(&waiting, 1, 0) != 0) {
        idleSince = Clock::now();
        return false;
    }
    if (!managed)
        place.remove();
    listening.reset();
    return true;
}

// Clients

// Why a client gets no connection. The kinds are those that the model gives to problems, by number.
struct Refusal {
    std::string_view text;
    std::int64_t kind;
};

namespace {

constexpr std::int64_t kindFailed = 0;
constexpr std::int64_t kindRefused = 3;
constexpr std::int64_t kindBusy = 4;

constexpr Refusal noDescriptors{"The service has no file descriptors left.", kindBusy};
constexpr Refusal tooManyConnections{"The user has too many connections to the service.", kindBusy};
constexpr Refusal unknownProcess{"The service could not tell which process asks.", kindFailed};
constexpr Refusal notWelcome{"The service refuses this process.", kindRefused};

} // namespace

void ListenerCore::acceptAll() {
    constexpr int mostAtOnce = 64; // so that those who are connected get their turn
    for (int i = 0; i < mostAtOnce; ++i) {
        UniqueFd client(accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (client) {
            take(std::move(client));
            continue;
        }
        if (errno == EINTR || errno == ECONNABORTED)
            continue;
        if (errno != EMFILE && errno != ENFILE)
            return;
        spare.reset();
        client.reset(accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (client)
            refuse(client.get(), noDescriptors);
        client.reset();
        spare.reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!spare)
            return;
    }
}

void ListenerCore::refuse(int client, const Refusal &why) {
    MessageEncoder frame;
    frame.encodeRefusal(why.text, why.kind);
    [[maybe_unused]] const ssize_t ignored =
        ::send(client, frame.gathered().data(), frame.gathered().size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

void ListenerCore::take(UniqueFd client) {
    auto process = identifyPeer(client.get());
    if (!process) {
        const bool isOutOfDescriptors = errno == EMFILE || errno == ENFILE;
        return refuse(client.get(), isOutOfDescriptors ? noDescriptors : unknownProcess);
    }
    Ref<UserShare> &share = users[process->identity.user];
    if (share == nullptr)
        share = makeRef<UserShare>();
    if (share->connections == options.limits.connections)
        return refuse(client.get(), tooManyConnections);
    ++share->connections;
    // Twice what the kernel gives by itself, so that long answers take half as many turns.
    constexpr int sendBytes = 208 * 1024;
    setsockopt(client.get(), SOL_SOCKET, SO_SNDBUF, &sendBytes, sizeof sendBytes);
    auto peer = makeRef<ListenerPeer>(this, std::move(client), std::move(*process), share);
    peer->number = ++lastNumber;
    peers.emplace(peer->number, peer);
    Handler<bool(MessagePeer *)> asked;
    {
        const std::lock_guard lock(mutex);
        asked = peerHandler;
    }
    if (!asked)
        return admit(peer, true);
    if (queue == nullptr)
        return admit(peer, asked(peer.get()));
    queue->async([self = Ref<ListenerCore>(this), peer, asked] {
        const bool welcome = asked(peer.get());
        self->post([core = self.get(), peer, welcome] { core->admit(peer, welcome); });
    });
}

void ListenerCore::admit(const Ref<ListenerPeer> &peer, bool welcome) {
    if (!peers.contains(peer->number))
        return;
    if (!welcome) {
        refuse(peer->socket.get(), notWelcome);
        return drop(*peer);
    }
    peer->admitted = true;
    MessageEncoder frame;
    frame.encodeHello();
    peer->transmit(frame);
    watch(*peer);
}

void ListenerCore::drop(ListenerPeer &peer) {
    const Ref<ListenerPeer> kept(&peer);
    if (peers.erase(peer.number) == 0)
        return;
    if (peer.watched != 0)
        epoll_ctl(epoll.get(), EPOLL_CTL_DEL, peer.socket.get(), nullptr);
    {
        const std::lock_guard lock(peer.mutex);
        peer.close();
    }
    peer.share->receivedBytes.fetch_sub(peer.reserved);
    --peer.share->connections;
    if (peer.share->held.load())
        attend(peer.share.get());
    if (peers.empty())
        idleSince = Clock::now();
}

void ListenerCore::dropStalled() {
    anyInFrame = false;
    std::vector<Ref<ListenerPeer>> stalled;
    for (const auto &[number, peer] : peers) {
        if (!peer->in.inFrame() || (peer->watched & EPOLLIN) == 0)
            continue;
        anyInFrame = true;
        if (Clock::now() - peer->lastBytes > options.limits.stalledMessage)
            stalled.push_back(peer);
    }
    for (const auto &peer : stalled)
        drop(*peer);
}

// Reading

// Registers the peer for what it may do now.
void ListenerCore::watch(ListenerPeer &peer) {
    if (!peers.contains(peer.number))
        return;
    bool wantsRoom = false;
    bool broken = false;
    {
        const std::lock_guard lock(peer.mutex);
        wantsRoom = peer.blocked;
        broken = peer.broken;
    }
    if (broken)
        return drop(peer);
    std::uint32_t wanted = wantsRoom ? EPOLLOUT : 0U;
    if (peer.admitted && mayRead(peer))
        wanted |= EPOLLIN;
    if (wanted == peer.watched)
        return;
    // A peer that is waited for in no way is not registered: its hang-up would be told again and again.
    const int operation = peer.watched == 0 ? EPOLL_CTL_ADD : wanted == 0 ? EPOLL_CTL_DEL : EPOLL_CTL_MOD;
    epoll_event event{.events = wanted, .data = {.u64 = peer.number}};
    if (epoll_ctl(epoll.get(), operation, peer.socket.get(), &event) != 0)
        return drop(peer);
    peer.watched = wanted;
}

bool ListenerCore::mayRead(ListenerPeer &peer) {
    const auto allowed = [&] {
        UserShare &share = *peer.share;
        // Who leaves no answer unread is not held up by others of the user who do.
        if (peer.unanswered.load() >= options.limits.unanswered ||
            (share.queuedBytes.load() >= options.limits.queuedBytes && peer.queuedBytes.load() != 0))
            return false;
        // Bytes of a frame that has begun are the user's from the beginning, so that it can be finished.
        const std::size_t begun = peer.in.lengthOfBegun();
        if (peer.reserved != 0)
            return true;
        const std::size_t held = share.receivedBytes.load();
        if (held != 0 && held + begun > options.limits.queuedBytes)
            return false;
        peer.reserved = begun;
        share.receivedBytes.fetch_add(begun);
        return true;
    };
    if (allowed())
        return true;
    // Said first and looked at again, so that what is freed in between is not missed.
    peer.share->held = true;
    return allowed();
}

void ListenerCore::onReady(const Ref<ListenerPeer> &peer, std::uint32_t events) {
    {
        const ListenerPeer::Serving serving(peer.get());
        if ((events & EPOLLOUT) != 0) {
            std::unique_lock lock(peer->mutex);
            peer->blocked = false;
            peer->flush(lock);
        }
        if ((events & ~std::uint32_t{EPOLLOUT}) != 0 && !readFrom(peer))
            return drop(*peer);
    }
    watch(*peer);
}

// False when the connection is over.
bool ListenerCore::readFrom(const Ref<ListenerPeer> &peer) {
    constexpr int mostRounds = 16; // so that others get their turn
    for (int round = 0; round < mostRounds; ++round) {
        if (!peer->admitted || !mayRead(*peer))
            return true;
        const auto outcome = peer->in.receive(peer->socket.get(), MSG_DONTWAIT);
        if (outcome == FrameReader::Outcome::nothing)
            return true;
        if (outcome != FrameReader::Outcome::bytes)
            return false;
        peer->lastBytes = Clock::now();
        std::vector<Ref<ReceivedMessage>> messages;
        const bool sound = takeFrames(peer, messages);
        anyInFrame = anyInFrame || peer->in.inFrame();
        if (!messages.empty())
            hand(peer, std::move(messages));
        if (!sound)
            return false;
        if (!peer->in.wasFilled())
            return true;
    }
    return true;
}

bool ListenerCore::takeFrames(const Ref<ListenerPeer> &peer, std::vector<Ref<ReceivedMessage>> &messages) {
    FrameReader::Frame frame;
    for (;;) {
        const auto next = peer->in.next(frame);
        if (next != FrameReader::Next::frame)
            return next == FrameReader::Next::incomplete;
        const FrameHeader &header = frame.header;
        if (header.kind != FrameKind::message && header.kind != FrameKind::request)
            return false;
        Ref<MessageDictionary> message = decodeMessage(frame.buffer, frame.contents, frame.descriptors);
        if (message == nullptr)
            return false;
        // The message is the user's until it is let go of; what was reserved for it is reserved no more.
        peer->share->receivedBytes.fetch_add(header.length);
        peer->share->receivedBytes.fetch_sub(std::exchange(peer->reserved, 0));
        messages.push_back(makeRef<ListenerMessage>(peer, std::move(message), header, this));
    }
}

void ListenerCore::hand(const Ref<ListenerPeer> &peer, std::vector<Ref<ReceivedMessage>> messages) {
    if (options.ordersEachPeer && peer->ordered == nullptr)
        peer->ordered = WorkQueue::create("peer of a service");
    const Ref<WorkQueue> &handling = options.ordersEachPeer ? peer->ordered : queue;
    if (handling != WorkQueue::global()) {
        auto handleAll = [this, peer, messages = std::move(messages)]() mutable {
            // Where one message may take longer than the next, each answer leaves at once.
            std::optional<ListenerPeer::Gathering> gathering;
            if (!options.ordersEachPeer)
                gathering.emplace(peer.get());
            for (Ref<ReceivedMessage> &message : messages) {
                const ReleaseScope scope;
                messageHandler(message.get());
                message = nullptr;
            }
        };
        if (handling == nullptr)
            handleAll();
        else
            handling->async([self = Ref<ListenerCore>(this), handleAll = std::move(handleAll)]() mutable {
                handleAll();
            });
        return;
    }
    // Handlers of a concurrent queue may block: each has a work item of its own.
    std::vector<WorkQueue::Work> batch;
    batch.reserve(messages.size());
    for (Ref<ReceivedMessage> &message : messages)
        batch.emplace_back([self = Ref<ListenerCore>(this), message = std::move(message)] {
            self->messageHandler(message.get());
        });
    handling->asyncBatch(batch);
}

} // namespace wickerlane

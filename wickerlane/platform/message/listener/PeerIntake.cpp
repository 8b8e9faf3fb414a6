#include "wickerlane/platform/message/listener/PeerIntake.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include "wickerlane/platform/message/listener/ListenerCore.h"
#include "wickerlane/platform/message/listener/ListenerMessage.h"
#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane {

namespace {

bool isHello(const FrameReader::Frame &frame) {
    constexpr std::size_t maxBytes = 4096;
    return frame.header.kind == FrameKind::hello && frame.contents.size() >= sizeof FrameHeader::version &&
           frame.contents.size() <= maxBytes && frame.descriptors.empty() &&
           loadUnaligned<std::uint32_t>(frame.contents.data()) == FrameHeader::version;
}

} // namespace

PeerIntake::PeerIntake(ListenerCore *owner, WorkQueue *handlerQueue, Handler<void(ReceivedMessage *)> handler,
                       const MessageListener::Options &chosen)
    : listener(owner), queue(handlerQueue), messageHandler(std::move(handler)), options(chosen),
      turns(chosen.ordersEachPeer ? makeRef<PeerTurns>(messageHandler, chosen.limits) : nullptr) {
}

// Peers

ListenerPeer *PeerIntake::find(std::uint64_t number) const {
    const auto found = peers.find(number);
    return found == peers.end() ? nullptr : found->second.get();
}

void PeerIntake::add(std::uint64_t number, Ref<ListenerPeer> peer) {
    peer->intake.number = number;
    // The reader does not outlive the peer; what it gave may.
    peer->intake.reader.setCharge(
        [of = peer.get()](std::size_t bytes) { return makeRef<HeldBytes>(*of, bytes); });
    peers.emplace(number, std::move(peer));
}

void PeerIntake::disconnect(ListenerPeer &peer) {
    const Ref<ListenerPeer> kept(&peer);
    if (peers.erase(peer.intake.number) == 0)
        return;
    if (peer.intake.watchedEvents != 0)
        epoll_ctl(poller.get(), EPOLL_CTL_DEL, peer.socketDescriptor(), nullptr);
    peer.close();
    peer.unchargeReceived(std::exchange(peer.intake.reservedBytes, 0));
    peer.intake.waiting.reset();
    peer.intake.reader = FrameReader();
    countDescriptors(peer);
    if (turns != nullptr)
        turns->disconnected(peer);
    peer.runPostponed();
    peer.runUnwanted();
    shares.disconnected(*peer.share, *peer.process);
    if (peer.share->isHeldBack.load())
        listener->reviewPeers(peer.share.get());
    if (peers.empty())
        lastRemoval = Clock::now();
}

void PeerIntake::disconnectAll() {
    while (!peers.empty())
        disconnect(*peers.begin()->second);
}

std::optional<PeerIntake::Clock::time_point> PeerIntake::nextLook() const {
    using std::chrono::milliseconds;
    if (!anyMidMessage && !anyUnread)
        return std::nullopt;
    return lastLook + std::min(milliseconds(anyUnread ? 50 : 1000), options.limits.stalledMessage);
}

void PeerIntake::lookAfterStalled() {
    const auto due = nextLook();
    if (!due || Clock::now() < *due)
        return;
    lastLook = Clock::now();
    anyMidMessage = false;
    anyUnread = false;
    const auto longAgo = Clock::now() - options.limits.stalledMessage;
    std::vector<Ref<ListenerPeer>> stalled;
    for (const auto &[number, peer] : peers) {
        const bool isMidMessage =
            peer->intake.reader.isMidFrame() && (peer->intake.watchedEvents & EPOLLIN) != 0;
        anyMidMessage = anyMidMessage || isMidMessage;
        peer->noteWhatWasRead();
        const bool leavesUnread = peer->leavesUnread();
        anyUnread = anyUnread || leavesUnread;
        if ((isMidMessage && peer->intake.lastBytes < longAgo) ||
            (leavesUnread && peer->hasTakenNothingSince(longAgo)))
            stalled.push_back(peer);
    }
    for (const auto &peer : stalled)
        disconnect(*peer);
}

// Watching

void PeerIntake::onReady(const Ref<ListenerPeer> &peer, std::uint32_t events) {
    peer->beginTurn((events & EPOLLOUT) != 0);
    if ((events & ~std::uint32_t{EPOLLOUT}) != 0 && !readFrom(peer))
        return disconnect(*peer);
    watch(*peer);
}

void PeerIntake::watch(ListenerPeer &peer) {
    if (find(peer.intake.number) == nullptr)
        return;
    const auto [wantsRoom, isBroken] = peer.endTurn();
    if (isBroken)
        return disconnect(peer);
    std::uint32_t wanted = wantsRoom ? EPOLLOUT : 0U;
    if (peer.intake.isAdmitted && mayRead(peer))
        wanted |= EPOLLIN;
    const std::uint32_t watched = peer.intake.watchedEvents;
    if (wanted == watched)
        return;
    const int operation = watched == 0 ? EPOLL_CTL_ADD : wanted == 0 ? EPOLL_CTL_DEL : EPOLL_CTL_MOD;
    epoll_event event{.events = wanted, .data = {.u64 = peer.intake.number}};
    if (epoll_ctl(poller.get(), operation, peer.socketDescriptor(), &event) != 0)
        return disconnect(peer);
    peer.intake.watchedEvents = wanted;
}

void PeerIntake::review(UserShare *share) {
    share->isHeldBack = false;
    std::vector<Ref<ListenerPeer>> ofUser;
    for (const auto &[number, peer] : peers)
        if (peer->share == share)
            ofUser.push_back(peer);
    for (const auto &peer : ofUser) {
        if (peer->intake.waiting) {
            peer->beginTurn(false);
            if (!takeFrames(peer)) {
                disconnect(*peer);
                continue;
            }
        }
        watch(*peer);
        if (turns != nullptr)
            turns->resume(*peer);
        peer->runPostponed();
    }
}

bool PeerIntake::mayRead(ListenerPeer &peer) {
    if (peer.isFull() || peer.intake.waiting)
        return false;
    if (peer.intake.waitsWithDescriptors && !mayBringDescriptors(peer))
        return false;
    peer.intake.waitsWithDescriptors = false;
    if (hasRoomFor(peer))
        return true;
    // Announced first and tested again, so that what is freed in between is not missed.
    peer.share->isHeldBack = true;
    return hasRoomFor(peer);
}

bool PeerIntake::hasRoomFor(ListenerPeer &peer) {
    const MessageLimits &limits = options.limits;
    if (leavesUnread(peer)) {
        anyUnread = true;
        return false;
    }
    // The bytes of a message are reserved when it begins, so that it can be finished.
    if (peer.intake.reservedBytes != 0)
        return true;
    const std::size_t begun = peer.intake.reader.currentFrameLength();
    const bool isShortAndAlone = begun <= limits.shortMessage && peer.receivedBytes() == 0;
    if (!isShortAndAlone && !(fits(peer.share->receivedBytes.load(), begun, limits.queuedBytes) &&
                              fits(peer.process->receivedBytes.load(), begun, limits.queuedBytesOfProcess)))
        return false;
    peer.chargeReceived(begun);
    peer.intake.reservedBytes = begun;
    return true;
}

bool PeerIntake::mayBringDescriptors(const ListenerPeer &peer) const {
    return peer.share->begunDescriptors < options.limits.begunDescriptors &&
           peer.process->begunDescriptors < options.limits.begunDescriptorsOfProcess;
}

bool PeerIntake::leavesUnread(const ListenerPeer &peer) const {
    if (peer.leavesUnread() && peer.share->memoryInSockets.load() != 0)
        for (const auto &[number, each] : peers)
            if (each->share == peer.share)
                each->noteWhatWasRead();
    return peer.leavesUnread();
}

// To be called when some have come or gone.
void PeerIntake::countDescriptors(ListenerPeer &peer) {
    PeerIntakeState &intake = peer.intake;
    const std::size_t now =
        intake.reader.heldDescriptors() + (intake.waiting ? intake.waiting->descriptors.size() : 0);
    const std::size_t before = std::exchange(intake.countedDescriptors, now);
    if (now == before)
        return;
    const bool werePast = !mayBringDescriptors(peer);
    peer.share->begunDescriptors += now - before; // which may wrap around, and back
    peer.process->begunDescriptors += now - before;
    if (werePast && mayBringDescriptors(peer))
        listener->reviewPeers(peer.share.get());
}

// Whether the message that waits may be handed to its handler. One that is above the limit by itself goes
// when no other such one is in hand, so that small messages of the user don't keep it waiting.
bool PeerIntake::mayHandle(const ListenerPeer &peer) const {
    const MessageLimits &limits = options.limits;
    const std::size_t cost = peer.intake.waitingCost;
    if (cost > limits.queuedBytes)
        return peer.share->largeMessages.load() == 0;
    if (cost <= limits.shortMessage && peer.receivedBytes() == peer.intake.reservedBytes)
        return true;
    // What is reserved for it is not needed besides. Where nothing is in hand, one goes.
    const auto fits = [&](const auto &share, std::size_t limit) {
        return share.handedBytes.load() == 0 ||
               share.receivedBytes.load() - peer.intake.reservedBytes + cost <= limit;
    };
    return fits(*peer.share, limits.queuedBytes) && fits(*peer.process, limits.queuedBytesOfProcess);
}

// Reading

// False when the connection is over.
bool PeerIntake::readFrom(const Ref<ListenerPeer> &peer) {
    // So that others get their turn: with hundreds of small frames from each, the last of many would wait for
    // tens of thousands.
    constexpr std::size_t fewPeers = 4;
    const int maxRounds = ready <= fewPeers ? 16 : 1;
    const std::size_t smallBytes = ready <= fewPeers ? FrameReader::sharedBytes : 4 * 1024;
    FrameReader &reader = peer->intake.reader;
    peer->noteWhatWasRead();
    for (int round = 0; round < maxRounds; ++round) {
        if (!peer->intake.isAdmitted || !mayRead(*peer))
            return true;
        if (!mayBringDescriptors(*peer) && FrameReader::nextBringsDescriptors(peer->socketDescriptor())) {
            peer->intake.waitsWithDescriptors = true;
            return true;
        }
        const auto outcome = reader.receive(peer->socketDescriptor(), MSG_DONTWAIT, smallBytes);
        if (outcome == FrameReader::Outcome::nothing)
            return true;
        if (outcome != FrameReader::Outcome::bytes)
            return false;
        peer->intake.lastBytes = Clock::now();
        if (!takeFrames(peer))
            return false;
        if (!reader.wasFilled())
            return true;
    }
    return true;
}

// False when what came is not as it should be.
bool PeerIntake::takeFrames(const Ref<ListenerPeer> &peer) {
    Messages messages;
    const bool isSound = decodeFrames(peer, messages);
    countDescriptors(*peer);
    anyMidMessage = anyMidMessage || peer->intake.reader.isMidFrame();
    if (!messages.empty())
        dispatch(peer, std::move(messages));
    return isSound;
}

bool PeerIntake::decodeFrames(const Ref<ListenerPeer> &peer, Messages &messages) {
    PeerIntakeState &intake = peer->intake;
    for (;;) {
        if (intake.waiting) {
            const Waiting outcome = takeWaiting(peer, messages);
            if (outcome != Waiting::taken)
                return outcome == Waiting::waits;
        }
        FrameReader::Frame frame;
        const auto next = intake.reader.next(frame);
        if (next != FrameReader::Next::frame)
            return next == FrameReader::Next::incomplete;
        if (isHello(frame)) {
            peer->noteVersion(frame.header.id);
            peer->bytesReleased(std::exchange(intake.reservedBytes, 0));
            continue;
        }
        if (frame.header.kind != FrameKind::message && frame.header.kind != FrameKind::request)
            return false;
        if (frame.header.kind == FrameKind::message && frame.header.id != 0) {
            peer->cancelRequest(frame.header.id);
            peer->bytesReleased(std::exchange(intake.reservedBytes, 0));
            continue;
        }
        intake.waiting = std::move(frame);
        if (!measure(*peer))
            return false;
    }
}

// False when the message that waits is to end the connection. One that is refused waits no longer.
bool PeerIntake::measure(ListenerPeer &peer) const {
    PeerIntakeState &intake = peer.intake;
    const FrameReader::Frame &frame = *intake.waiting;
    const MessageMeasure found =
        measureMessage(frame.contents, frame.descriptors.size(), options.weight,
                       {.keys = options.limits.keys, .values = options.limits.queuedBytes});
    intake.waitingCost = found.cost;
    if (!found.isTooMuch)
        return found.isSound;
    const bool wantsReply = frame.header.kind == FrameKind::request;
    if (wantsReply)
        peer.replyError(frame.header.id, "The message has more values than the service takes at once.", 0);
    intake.waiting.reset();
    peer.bytesReleased(std::exchange(intake.reservedBytes, 0));
    return wantsReply;
}

// Hands the message that waits on, if it fits.
PeerIntake::Waiting PeerIntake::takeWaiting(const Ref<ListenerPeer> &peer, Messages &messages) {
    PeerIntakeState &intake = peer->intake;
    if (!mayHandle(*peer)) {
        if (intake.reservedBytes == 0) { // it came whole
            intake.reservedBytes = sizeof(FrameHeader) + intake.waiting->header.length;
            peer->chargeReceived(intake.reservedBytes);
        }
        // As in mayRead().
        peer->share->isHeldBack = true;
        if (!mayHandle(*peer))
            return Waiting::waits;
    }
    FrameReader::Frame frame = *std::exchange(intake.waiting, std::nullopt);
    // What lies inside its containers takes memory only when the handler asks for it.
    auto message = decodeMessage(frame.buffer, frame.contents, frame.descriptors);
    if (message == nullptr)
        return Waiting::malformed;
    // From now on what it costs counts, until it is released, in place of what was reserved for it.
    messages.push_back(
        makeRef<ListenerMessage>(peer, std::move(message), frame.header, intake.waitingCost, listener));
    peer->unchargeReceived(std::exchange(intake.reservedBytes, 0));
    return Waiting::taken;
}

// Handling

void PeerIntake::dispatch(const Ref<ListenerPeer> &peer, Messages messages) {
    if (turns != nullptr) {
        if (options.atOnce && turns->isIdle(*peer))
            handleAtOnce(*peer, messages);
        if (!messages.empty())
            turns->add(*peer, std::move(messages));
        return;
    }
    if (queue == nullptr)
        return handleInOrder(*peer, std::move(messages));
    const Ref<ListenerCore> owner(listener);
    if (queue != WorkQueue::global())
        return queue->async([this, owner, peer, messages = std::move(messages)]() mutable {
            handleInOrder(*peer, std::move(messages));
        });
    // Handlers of a concurrent queue may block: each has a work item of its own.
    std::vector<WorkQueue::Work> items;
    items.reserve(messages.size());
    for (Ref<ReceivedMessage> &message : messages)
        items.emplace_back([this, owner, message = std::move(message)] { messageHandler(message.get()); });
    queue->asyncBatch(items);
}

// Handles the first of the messages, as many as need no wait.
void PeerIntake::handleAtOnce(ListenerPeer &peer, Messages &messages) {
    const bool gathers = messages.size() > 1;
    if (gathers)
        peer.startGathering(false);
    auto next = messages.begin();
    for (; next != messages.end() && !peer.mustReadFirst(); ++next) {
        const ReleaseScope scope;
        if (!options.atOnce(next->get()))
            break;
        *next = nullptr;
    }
    messages.erase(messages.begin(), next);
    if (gathers) {
        peer.stopGathering();
        peer.sendGathered();
    }
}

void PeerIntake::handleInOrder(ListenerPeer &peer, Messages messages) const {
    const bool gathers = messages.size() > 1;
    if (gathers)
        peer.startGathering(queue != nullptr);
    for (Ref<ReceivedMessage> &message : messages) {
        if (gathers && &message == &messages.back())
            peer.stopGathering(); // the last answer takes the others along
        const ReleaseScope scope;
        messageHandler(message.get());
        message = nullptr;
    }
    if (gathers)
        peer.sendGathered();
}

} // namespace wickerlane

#include "wickerlane/platform/message/listener/ListenerPeer.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <iterator>

#include "wickerlane/platform/message/listener/ListenerCore.h"

namespace wickerlane {

constinit const Class MessagePeer::classInfo{"MessagePeer", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessagePeer);

namespace {

// How long, and until how much of it there is, answers are gathered.
constexpr std::chrono::milliseconds gatherTime{1};
constexpr std::size_t maxGatheredBytes = 64 * 1024;

} // namespace

ListenerPeer::ListenerPeer(ListenerCore *owner, UniqueFd connected, PeerProcess peer, Ref<UserShare> user,
                           Ref<ProcessShare> ofProcess)
    : share(std::move(user)), process(std::move(ofProcess)), listener(owner), descriptor(connected.get()),
      client(std::move(peer)), socket(std::move(connected)) {
}

ListenerPeer::~ListenerPeer() = default;

bool ListenerPeer::isConnected() {
    const MutexLock lock(mutex);
    return state == State::open;
}

// Messages that are kept

bool ListenerPeer::watch(const ReceivedMessage *message, std::uint64_t id, Handler<void()> work) {
    const MutexLock lock(mutex);
    if (state == State::closed || (id != 0 && cancelled.contains(id)))
        return false;
    watched.push_back({message, id, std::move(work)});
    return true;
}

void ListenerPeer::forgetWatched(const ReceivedMessage *message) {
    std::vector<Watched> forgotten; // destroyed without the lock
    const MutexLock lock(mutex);
    const auto rest = std::partition(watched.begin(), watched.end(),
                                     [=](const Watched &each) { return each.message != message; });
    forgotten.assign(std::make_move_iterator(rest), std::make_move_iterator(watched.end()));
    watched.erase(rest, watched.end());
}

void ListenerPeer::runUnwanted() {
    std::vector<Watched> gone;
    {
        const MutexLock lock(mutex);
        gone.swap(watched);
    }
    for (const Watched &each : gone)
        each.work();
}

void ListenerPeer::cancelRequest(std::uint64_t id) {
    std::vector<Watched> unwanted;
    {
        const MutexLock lock(mutex);
        if (messages.load() == 0)
            return;
        cancelled.insert(id);
        if (cancelled.size() > listener->limits().heldMessages)
            cancelled.erase(cancelled.begin()); // the oldest, of a client that counts up
        hasCancelled = true;
        const auto rest = std::partition(watched.begin(), watched.end(),
                                         [=](const Watched &each) { return each.id != id; });
        unwanted.assign(std::make_move_iterator(rest), std::make_move_iterator(watched.end()));
        watched.erase(rest, watched.end());
    }
    for (const Watched &each : unwanted)
        each.work();
}

bool ListenerPeer::isCancelled(std::uint64_t id) {
    if (!hasCancelled.load(std::memory_order_relaxed))
        return false;
    const MutexLock lock(mutex);
    return cancelled.contains(id);
}

void ListenerPeer::forgetCancelled(std::uint64_t id) {
    if (!hasCancelled.load(std::memory_order_relaxed))
        return;
    const MutexLock lock(mutex);
    cancelled.erase(id);
    if (messages.load() <= 1) // the one that asks
        cancelled.clear();
    if (cancelled.empty())
        hasCancelled = false;
}

// Sending

void ListenerPeer::send(MessageDictionary *message) {
    MessageEncoder frame;
    if (frame.encode(FrameKind::message, 0, message) == nullptr)
        transmit(frame);
}

void ListenerPeer::reply(std::uint64_t id, MessageDictionary *answer) {
    MessageEncoder frame;
    if (const char *reason = frame.encode(FrameKind::reply, id, answer))
        frame.encodeError(id, reason);
    transmit(frame);
}

void ListenerPeer::replyError(std::uint64_t id, std::string_view description, std::int64_t kind) {
    MessageEncoder frame;
    frame.encodeError(id, description, kind);
    transmit(frame);
}

void ListenerPeer::transmit(const MessageEncoder &frame) {
    const MutexLock lock(mutex);
    if (state != State::open)
        return;
    const std::size_t ofUserBefore = share->queuedBytes.load();
    queue.append(frame);
    chargeQueue();
    if (ofUserBefore > listener->limits().unreadBytes) {
        breakOff();
        return notifyIntake();
    }
    if (gatheringThread == std::this_thread::get_id() && queue.queuedBytes() < maxGatheredBytes)
        return flushSoon();
    flush();
}

void ListenerPeer::startGathering(bool handlersMayBlock) {
    const MutexLock lock(mutex);
    gatheringThread = std::this_thread::get_id();
    gathersByTimer = handlersMayBlock;
}

void ListenerPeer::stopGathering() {
    const MutexLock lock(mutex);
    gatheringThread = {};
}

void ListenerPeer::sendGathered() {
    const MutexLock lock(mutex);
    flush();
}

void ListenerPeer::flushSoon() {
    if (!gathersByTimer || std::exchange(isFlushDue, true))
        return;
    WorkQueue::global()->after(gatherTime, [self = Ref<ListenerPeer>(this)] {
        const MutexLock lock(self->mutex);
        self->isFlushDue = false;
        self->flush();
    });
}

// Sends all that waits, unless another thread is at it or the socket is full.
void ListenerPeer::flush() {
    if (state == State::broken || state == State::closed || isBlocked || queue.isEmpty() ||
        queue.isBeingSent())
        return;
    SendQueue::Outcome outcome = SendQueue::Outcome::sent;
    while (outcome == SendQueue::Outcome::sent && !queue.isEmpty() && state != State::closed) {
        outcome = queue.flush(mutex, descriptor, MSG_DONTWAIT, queue.appended());
        chargeQueue();
    }
    if (state == State::closed)
        return closeSocket();
    isBlocked = outcome == SendQueue::Outcome::blocked;
    if (isBlocked && queue.sent() != std::exchange(sentWhenBlocked, queue.sent()))
        lastTaken = std::chrono::steady_clock::now();
    if (state == State::ending && queue.isEmpty())
        shutdown(descriptor, SHUT_RDWR);
    if (outcome == SendQueue::Outcome::failed)
        breakOff();
    if ((isBlocked || state == State::broken) && !isInTurn)
        notifyIntake();
    else
        notifyIfHeldBack();
}

// Ending

void ListenerPeer::cancel() {
    const MutexLock lock(mutex);
    if (state != State::open)
        return;
    state = State::ending;
    if (queue.isEmpty())
        shutdown(descriptor, SHUT_RDWR);
}

void ListenerPeer::breakOff() {
    state = State::broken;
    shutdown(descriptor, SHUT_RDWR);
}

void ListenerPeer::close() {
    const MutexLock lock(mutex);
    if (state == State::closed)
        return;
    state = State::closed;
    shutdown(descriptor, SHUT_RDWR);
    if (!queue.isBeingSent()) // else the thread that sends does the rest
        closeSocket();
}

void ListenerPeer::closeSocket() {
    queue = SendQueue();
    seenDescriptorCost = 0;
    chargeQueue();
    chargeMemoryInSocket(0);
    socket.reset();
}

// The intake thread

void ListenerPeer::beginTurn(bool hasRoom) {
    const MutexLock lock(mutex);
    isInTurn = true;
    if (hasRoom) {
        isBlocked = false;
        flush();
    }
}

ListenerPeer::Interest ListenerPeer::endTurn() {
    const MutexLock lock(mutex);
    isInTurn = false;
    return {.wantsRoom = isBlocked, .isBroken = state == State::broken};
}

// Once: the intake thread looks at all peers of the user, and says so again where one must wait on.
void ListenerPeer::notifyIfHeldBack() {
    if (share->isHeldBack.load() && share->isHeldBack.exchange(false))
        notifyIntake();
}

void ListenerPeer::notifyIntake() {
    listener->reviewPeers(share.get());
}

// Accounting

void ListenerPeer::chargeQueue() {
    const std::size_t now = queue.cost();
    const std::size_t before = bytesToSend.exchange(now);
    // Each may wrap around, and back.
    share->queuedBytes.fetch_add(now - before);
    process->unreadBytes.fetch_add(now - before);
    // A socket holds what it was given of memory and files until they are read; bytes fill it soon.
    if (const std::uint64_t sent = queue.sentDescriptorCost(); sent != seenDescriptorCost)
        chargeMemoryInSocket(memoryInSocket.load() + (sent - std::exchange(seenDescriptorCost, sent)));
}

void ListenerPeer::chargeMemoryInSocket(std::size_t now) {
    const std::size_t before = memoryInSocket.exchange(now);
    if (before == 0)
        lastTaken = std::chrono::steady_clock::now();
    share->memoryInSockets.fetch_add(now - before);
    process->unreadBytes.fetch_add(now - before);
}

void ListenerPeer::chargeReceived(std::size_t bytes) noexcept {
    bytesReceived.fetch_add(bytes);
    process->receivedBytes.fetch_add(bytes);
    share->receivedBytes.fetch_add(bytes);
}

void ListenerPeer::unchargeReceived(std::size_t bytes) noexcept {
    bytesReceived.fetch_sub(bytes);
    process->receivedBytes.fetch_sub(bytes);
    share->receivedBytes.fetch_sub(bytes);
}

void ListenerPeer::bytesReleased(std::size_t bytes) {
    unchargeReceived(bytes);
    notifyIfHeldBack();
}

void ListenerPeer::messageHeld(std::size_t cost) noexcept {
    messages.fetch_add(1);
    process->handedBytes.fetch_add(cost);
    share->handedBytes.fetch_add(cost);
    if (cost > listener->limits().queuedBytes)
        share->largeMessages.fetch_add(1);
    chargeReceived(cost);
}

void ListenerPeer::messageReleased(std::size_t cost) {
    const bool areFewEnough = messages.fetch_sub(1) - 1 == fewEnough();
    process->handedBytes.fetch_sub(cost);
    share->handedBytes.fetch_sub(cost);
    if (cost > listener->limits().queuedBytes)
        share->largeMessages.fetch_sub(1);
    bytesReleased(cost);
    if (areFewEnough && waitsForFewer.load())
        notifyIntake();
}

std::size_t ListenerPeer::fewEnough() const noexcept {
    return listener->limits().heldMessages * 3 / 4;
}

bool ListenerPeer::isFull() noexcept {
    if (!waitsForFewer.load() && messages.load() < listener->limits().heldMessages)
        return false;
    // Announced first and tested again, so that what is released in between is not missed.
    waitsForFewer = true;
    if (messages.load() > fewEnough())
        return true;
    waitsForFewer = false;
    return false;
}

// What is left unread

bool ListenerPeer::leavesUnread() const noexcept {
    const MessageLimits &limits = listener->limits();
    return share->unread() >= limits.queuedBytes &&
           (bytesToSend.load() + memoryInSocket.load() != 0 ||
            process->unreadBytes.load() >= limits.unreadBytesOfProcess);
}

void ListenerPeer::noteWhatWasRead() {
    if (memoryInSocket.load() == 0)
        return;
    {
        const MutexLock lock(mutex);
        int unread = 0;
        if (state == State::closed || ioctl(descriptor, SIOCOUTQ, &unread) != 0)
            return;
        if (std::exchange(unreadInSocket, unread) != unread)
            lastTaken = std::chrono::steady_clock::now();
        if (unread != 0)
            return;
        chargeMemoryInSocket(0);
    }
    notifyIfHeldBack();
}

bool ListenerPeer::hasTakenNothingSince(std::chrono::steady_clock::time_point time) {
    const MutexLock lock(mutex);
    return (isBlocked || memoryInSocket.load() != 0) && lastTaken < time;
}

// Announced first and tested again, so that what is read in between is not missed.
bool ListenerPeer::mustReadFirst() noexcept {
    if (!leavesUnread())
        return false;
    share->isHeldBack = true;
    if (!leavesUnread())
        return false;
    listener->lookAfterUnread();
    return true;
}

bool ListenerPeer::postponeUntilRead(Handler<void()> work) {
    const MutexLock lock(mutex);
    if (state != State::open || !mustReadFirst())
        return false;
    postponed.push_back(std::move(work));
    return true;
}

void ListenerPeer::runPostponed() {
    std::vector<Handler<void()>> due;
    {
        const MutexLock lock(mutex);
        if (postponed.empty() || (state == State::open && mustReadFirst()))
            return;
        due.swap(postponed);
    }
    for (const auto &work : due)
        work();
}

} // namespace wickerlane

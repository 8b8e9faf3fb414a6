#include "wickerlane/platform/message/listener/ListenerCore.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <system_error>

#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessTransaction.h"

namespace wickerlane {
namespace {

// What epoll reports besides peers, whose numbers are greater.
constexpr std::uint64_t listeningNumber = 0;
constexpr std::uint64_t wakeNumber = 1;
constexpr std::uint64_t removalNumber = 2;

bool watchInput(int poller, int descriptor, std::uint64_t number) {
    epoll_event event{.events = EPOLLIN, .data = {.u64 = number}};
    return epoll_ctl(poller, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

} // namespace

ListenerCore::ListenerCore(std::string serviceName, WorkQueue *handlerQueue,
                           Handler<void(ReceivedMessage *)> handler, MessageListener::Options chosen,
                           UniqueFd bound, bool isManaged)
    : name(std::move(serviceName)), queue(handlerQueue), options(std::move(chosen)), managed(isManaged),
      listening(std::move(bound)), intake(this, handlerQueue, std::move(handler), options),
      admission(this, intake, handlerQueue, options) {
}

ListenerCore::~ListenerCore() {
    if (thread.joinable())
        thread.detach();
}

bool ListenerCore::prepare() {
    intake.poller.reset(epoll_create1(EPOLL_CLOEXEC));
    wakeUp.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    return intake.poller && wakeUp && admission.prepare() &&
           fcntl(listening.get(), F_SETFL, O_NONBLOCK) == 0 &&
           watchInput(intake.poller.get(), listening.get(), listeningNumber) &&
           watchInput(intake.poller.get(), wakeUp.get(), wakeNumber);
}

bool ListenerCore::resume() {
    const MutexLock lock(mutex);
    if (cancelled || thread.joinable())
        return true;
    try {
        thread = std::thread([self = Ref<ListenerCore>(this)] { self->run(); });
    } catch (const std::system_error &) {
        return false;
    }
    return true;
}

void ListenerCore::cancel() {
    std::thread finishing;
    {
        const MutexLock lock(mutex);
        const bool isFirst = !std::exchange(cancelled, true);
        if (wakeUp)
            eventfd_write(wakeUp.get(), 1);
        if (!thread.joinable()) {
            if (isFirst) { // never resumed
                listening.reset();
                ended = true;
            }
            return;
        }
        finishing = std::move(thread);
    }
    if (finishing.get_id() == std::this_thread::get_id())
        finishing.detach();
    else
        finishing.join();
}

// The intake thread

void ListenerCore::post(Handler<void()> work) {
    const MutexLock lock(mutex);
    if (ended)
        return;
    posted.push_back(std::move(work));
    eventfd_write(wakeUp.get(), 1);
}

void ListenerCore::reviewPeers(UserShare *share) {
    post([this, share = Ref<UserShare>(share)] { intake.review(share.get()); });
}

void ListenerCore::lookAfterUnread() {
    if (isLookPosted.exchange(true))
        return;
    post([this] {
        isLookPosted = false;
        intake.lookAfterUnread();
    });
}

void ListenerCore::runPosted() {
    eventfd_t count = 0;
    eventfd_read(wakeUp.get(), &count);
    std::vector<Handler<void()>> work;
    {
        const MutexLock lock(mutex);
        work.swap(posted);
    }
    for (const auto &each : work)
        each();
}

void ListenerCore::run() {
    const ServiceSocket place(name);
    idleSince = Clock::now();
    ownName = place.identity();
    if (!managed)
        watchLinked(place);
    const End end = serve(place);
    if (end == End::cancelled) {
        const UniqueFd lock = place.lock();
        stopListening(place);
    }
    finish();
    if (end == End::cancelled || !options.idle)
        return;
    if (queue != nullptr)
        queue->async(options.idle);
    else
        options.idle();
}

ListenerCore::End ListenerCore::serve(const ServiceSocket &place) {
    while (!isCancelled()) {
        const ReleaseScope scope;
        epoll_event events[64];
        const int count = epoll_wait(intake.poller.get(), events, std::size(events), timeToWait());
        intake.setReadyCount(static_cast<std::size_t>(std::max(count, 0)));
        for (int i = 0; i < count; ++i) {
            const std::uint64_t number = events[i].data.u64;
            if (number == listeningNumber)
                admission.acceptAll(listening.get());
            else if (number == wakeNumber)
                runPosted();
            else if (number == removalNumber)
                listenAgainIfRemoved(place);
            else if (const Ref<ListenerPeer> peer = intake.find(number); peer != nullptr)
                intake.onReady(peer, events[i].events);
        }
        intake.lookAfterStalled();
        if (endIfIdle(place))
            return End::idle;
    }
    return End::cancelled;
}

void ListenerCore::finish() {
    intake.disconnectAll();
    runPosted();
    admission.end();
    const MutexLock lock(mutex);
    ended = true;
    intake.poller.reset();
    wakeUp.reset();
}

bool ListenerCore::isCancelled() {
    const MutexLock lock(mutex);
    return cancelled;
}

int ListenerCore::timeToWait() const {
    std::optional<Clock::time_point> next = intake.nextLook();
    if (options.idleTime.count() > 0 && intake.isEmpty())
        next = std::max(idleSince, intake.emptySince()) + options.idleTime;
    if (!next)
        return -1;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(wait.count(), 0));
}

// A runtime folder goes with the end of the login, which a client that stays connected may outlive.
void ListenerCore::watchLinked(const ServiceSocket &place) {
    const std::string folder(parentFolder(place.linked()));
    if (folder.empty())
        return;
    removals.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!removals || inotify_add_watch(removals.get(), folder.c_str(), IN_DELETE | IN_MOVED_FROM) < 0 ||
        !watchInput(intake.poller.get(), removals.get(), removalNumber)) {
        removals.reset();
        return;
    }
    listenAgainIfRemoved(place); // before there was a watch
}

// Below the root, even where there is a runtime folder still: it may be about to be removed.
void ListenerCore::listenAgainIfRemoved(const ServiceSocket &place) {
    char events[4096];
    while (read(removals.get(), events, sizeof events) > 0) {
    }
    const auto isThere = [&] { return access(place.linked().c_str(), F_OK) == 0; };
    if (isThere()) // what was removed was another's: no need of the lock
        return;
    const UniqueFd lock = place.lock();
    if (!lock || isThere() || place.connect())
        return;
    removals.reset();
    UniqueFd below = place.listenBelowRoot();
    if (!below || fcntl(below.get(), F_SETFL, O_NONBLOCK) != 0 ||
        !watchInput(intake.poller.get(), below.get(), listeningNumber))
        return;
    admission.acceptAll(listening.get()); // those who came before
    listening = std::move(below);
    ownName = place.identity();
}

// Ending

// With the lock held: a starter waits for it, and then finds the name free.
void ListenerCore::stopListening(const ServiceSocket &place) {
    if (!managed && place.identity() == ownName) // else another service has taken the name
        place.remove();
    listening.reset();
}

// Stops listening when the service has been idle for long enough.
bool ListenerCore::endIfIdle(const ServiceSocket &place) {
    if (options.idleTime.count() <= 0 || !intake.isEmpty())
        return false;
    const auto now = Clock::now();
    if (now < std::max(idleSince, intake.emptySince()) + options.idleTime)
        return false;
    idleSince = now;
    if (processTransactionCount() != 0 || heldMessages.load() != 0)
        return false;
    const UniqueFd lock = place.lock();
    // Those who have connected and wait to be accepted are served first.
    pollfd waiting{.fd = listening.get(), .events = POLLIN, .revents = 0};
    if (poll(&waiting, 1, 0) != 0)
        return false;
    stopListening(place);
    return true;
}

} // namespace wickerlane

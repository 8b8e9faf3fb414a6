// What stands behind a MessageListener.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_LISTENERCORE_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_LISTENERCORE_H

#include <string>
#include <thread>
#include <vector>

#include "wickerlane/platform/message/listener/Admission.h"
#include "wickerlane/platform/message/listener/PeerIntake.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"

namespace wickerlane {

/// The life of a listener: its name, its intake thread, and the end of both.
class ListenerCore final : public Object {
public:
    ListenerCore(std::string serviceName, WorkQueue *handlerQueue, Handler<void(ReceivedMessage *)> handler,
                 MessageListener::Options chosen, UniqueFd bound, bool isManaged);
    ~ListenerCore() override;

    /// False when the process has no descriptors left.
    [[nodiscard]] bool prepare();
    void setPeerHandler(Handler<bool(MessagePeer *)> handler) {
        admission.setPeerHandler(std::move(handler));
    }
    bool resume() WL_EXCLUDES(mutex);
    /// Ends it. On another thread than the intake's, that is over when this returns.
    void cancel() WL_EXCLUDES(mutex);
    /// Has the intake thread do something.
    void post(Handler<void()> work) WL_EXCLUDES(mutex);
    /// Has the intake thread find out what it may now do with the peers of a user.
    void reviewPeers(UserShare *share);
    /// Has the intake thread look after those who leave much unread.
    void lookAfterUnread();
    [[nodiscard]] const MessageLimits &limits() const noexcept { return options.limits; }
    [[nodiscard]] std::size_t heldCount() const noexcept { return heldMessages.load(); }
    void messageHeld() noexcept { heldMessages.fetch_add(1, std::memory_order_relaxed); }
    void messageReleased() noexcept { heldMessages.fetch_sub(1, std::memory_order_relaxed); }

private:
    using Clock = PeerIntake::Clock;
    enum class End { cancelled, idle };

    void run();
    [[nodiscard]] End serve(const ServiceSocket &place);
    void finish() WL_EXCLUDES(mutex);
    void watchLinked(const ServiceSocket &place);
    void listenAgainIfRemoved(const ServiceSocket &place);
    [[nodiscard]] bool isCancelled() WL_EXCLUDES(mutex);
    void runPosted() WL_EXCLUDES(mutex);
    [[nodiscard]] int timeToWait() const;
    [[nodiscard]] bool endIfIdle(const ServiceSocket &place);
    void stopListening(const ServiceSocket &place);

    const std::string name;
    const Ref<WorkQueue> queue;
    const MessageListener::Options options;
    const bool managed; // the socket stays bound when this ends
    std::atomic<std::size_t> heldMessages{0};
    std::atomic<bool> isLookPosted{false};

    // Of the intake thread.
    UniqueFd listening;
    std::optional<std::pair<dev_t, ino_t>> ownName; // of the socket that clients find
    UniqueFd removals; // of the socket in the user's runtime folder; none when it is below the root
    PeerIntake intake;
    Admission admission;
    Clock::time_point idleSince{};

    Mutex mutex;
    UniqueFd wakeUp; // changed by the intake thread with the mutex held
    std::vector<Handler<void()>> posted WL_GUARDED_BY(mutex);
    std::thread thread WL_GUARDED_BY(mutex);
    bool cancelled WL_GUARDED_BY(mutex) = false;
    bool ended WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane

#endif

// How clients come to a listener.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_ADMISSION_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_ADMISSION_H

#include "wickerlane/platform/message/listener/PeerIntake.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane {

struct Refusal;

/// Accepts clients on the listening socket and admits or refuses each. Of the intake thread, unless a
/// function says otherwise.
///
///     a client is refused                                   as problem
///     when the process has no descriptors left               busy
///     when its process can't be identified                   failed
///     when its process has as many connections as may be     busy
///     when its user has as many connections as may be        busy
///     when the peer handler does not want it                 refused
class Admission {
public:
    Admission(ListenerCore *owner, PeerIntake &admitted, WorkQueue *handlerQueue,
              const MessageListener::Options &chosen)
        : listener(owner), intake(admitted), queue(handlerQueue), limits(chosen.limits),
          version(chosen.version) {}

    /// False when the process has no descriptors left.
    [[nodiscard]] bool prepare();
    /// From any thread. Null removes it.
    void setPeerHandler(Handler<bool(MessagePeer *)> handler) WL_EXCLUDES(mutex);
    /// Accepts those who wait, up to a number.
    void acceptAll(int listening);
    /// Lets go of what prepare() opened.
    void end() WL_EXCLUDES(mutex);

private:
    void consider(UniqueFd client);
    void conclude(const Ref<ListenerPeer> &peer, bool isWelcome);
    static void refuse(int client, const Refusal &why);

    ListenerCore *const listener; // which owns this
    PeerIntake &intake;
    WorkQueue *const queue;
    const MessageLimits &limits;
    const PeerVersion version;
    UniqueFd spare;               // given up to refuse a client when no descriptor is left
    std::uint64_t lastNumber = 2; // the smaller ones are the listener's own

    Mutex mutex;
    Handler<bool(MessagePeer *)> peerHandler WL_GUARDED_BY(mutex);
};

} // namespace wickerlane

#endif

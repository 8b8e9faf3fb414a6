// Who stands at the other end of a socket.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_PEERPROCESS_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_PEERPROCESS_H

#include <optional>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/listener/MessageListener.h"

namespace wickerlane {

struct WL_EXPORT PeerProcess {
    PeerIdentity identity;
    UniqueFd process; ///< A pidfd: readable once the process has ended.

    [[nodiscard]] bool isAlive() const noexcept;
};

/// How the pidfd of a peer is had: from the socket, where the kernel knows that (6.5 and later), or by its
/// id.
enum class PidfdFrom { socketWherePossible, processID };

/// Asks the kernel. Nothing when the peer's process can't be told any more.
[[nodiscard]] WL_EXPORT std::optional<PeerProcess>
identifyPeer(int socket, PidfdFrom from = PidfdFrom::socketWherePossible);

} // namespace wickerlane

#endif

// The process at the other end of a socket.
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

/// Where the pidfd of a peer comes from: the socket, where the kernel can give it (6.5 and later), or the
/// process id.
enum class PidfdFrom { socketWherePossible, processID };

/// Asks the kernel. Nothing, and errno, when the peer's process can't be identified any more.
[[nodiscard]] WL_EXPORT std::optional<PeerProcess>
identifyPeer(int socket, PidfdFrom from = PidfdFrom::socketWherePossible);

} // namespace wickerlane

#endif

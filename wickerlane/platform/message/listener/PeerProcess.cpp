#include "wickerlane/platform/message/listener/PeerProcess.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include "wickerlane/platform/process/ProcessFacts.h"

// Newer than the C library's headers.
#ifndef SO_PEERPIDFD
#define SO_PEERPIDFD 77
#endif

namespace wickerlane {

bool PeerProcess::isAlive() const noexcept {
    pollfd ended{.fd = process.get(), .events = POLLIN, .revents = 0};
    return poll(&ended, 1, 0) == 0;
}

std::optional<PeerProcess> identifyPeer(int socket, PidfdFrom from) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 || credentials.pid <= 0)
        return std::nullopt;
    PeerProcess peer{{credentials.uid, credentials.gid, credentials.pid, 0, {}}, {}};
    int fd = -1;
    size = sizeof fd;
    if (from == PidfdFrom::socketWherePossible &&
        getsockopt(socket, SOL_SOCKET, SO_PEERPIDFD, &fd, &size) == 0)
        peer.process.reset(fd);
    else
        peer.process.reset(static_cast<int>(syscall(SYS_pidfd_open, credentials.pid, 0)));
    if (!peer.process)
        return std::nullopt;
    // Read after the pidfd was had and believed only if the process still runs: its id can't have gone to
    // another process in between.
    peer.identity.startTime = startTimeOf(credentials.pid);
    peer.identity.program = programOf(credentials.pid);
    if (!peer.isAlive()) {
        peer.identity.startTime = 0;
        peer.identity.program = {};
    }
    return peer;
}

} // namespace wickerlane

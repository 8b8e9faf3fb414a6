#include "wickerlane/platform/message/listener/PeerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <climits>
#include <cstdlib>
#include <vector>

#include "wickerlane/platform/file/Files.h"

// Newer than the C library's headers.
#ifndef SO_PEERPIDFD
#define SO_PEERPIDFD 77
#endif

namespace wickerlane {

std::uint64_t startTimeOf(pid_t process) {
    char text[1024];
    const UniqueFd file(open(("/proc/" + std::to_string(process) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
    const ssize_t count = file ? read(file.get(), text, sizeof text) : -1;
    if (count <= 0)
        return 0;
    // The second field is the program's name, which may hold anything; the rest begins behind its bracket.
    // The start time is the 22nd.
    std::string_view rest(text, static_cast<std::size_t>(count));
    rest.remove_prefix(std::min(rest.rfind(')') + 1, rest.size()));
    for (int field = 2; field < 22; ++field) {
        const std::size_t space = rest.find(' ');
        if (space == rest.npos)
            return 0;
        rest.remove_prefix(space + 1);
    }
    return std::strtoull(std::string(rest.substr(0, rest.find(' '))).c_str(), nullptr, 10);
}

std::string executableOf(pid_t process) {
    char path[PATH_MAX];
    const ssize_t count = readlink(("/proc/" + std::to_string(process) + "/exe").c_str(), path, sizeof path);
    return count > 0 ? std::string(path, static_cast<std::size_t>(count)) : std::string();
}

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
    peer.identity.executable = executableOf(credentials.pid);
    if (!peer.isAlive()) {
        peer.identity.startTime = 0;
        peer.identity.executable.clear();
    }
    return peer;
}

} // namespace wickerlane

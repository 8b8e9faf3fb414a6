#include "wickerlane/testing/SoleDaemon.h"

#include <dirent.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <charconv>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "wickerlane/protocol/ServiceName.h"

namespace wickerlane {

namespace {

constinit std::atomic_flag isThere;

/// Whether a descriptor is a connection to the daemon's service that has not ended.
bool leadsToDaemon(int fd) {
    sockaddr_un address{};
    socklen_t length = sizeof address - 1; // the path stays terminated
    if (getpeername(fd, reinterpret_cast<sockaddr *>(&address), &length) != 0 ||
        address.sun_family != AF_UNIX)
        return false;
    const std::string_view path = address.sun_path;
    if (path.substr(path.rfind('/') + 1) != WickerlaneGatekeeperName)
        return false;
    pollfd state{.fd = fd, .events = 0, .revents = 0};
    return poll(&state, 1, 0) == 0; // a connection that has ended reports a hang-up
}

bool hasConnection() {
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir("/proc/self/fd"), closedir);
    if (folder == nullptr)
        throw std::runtime_error("the connections of this process can't be read");
    while (const dirent *entry = readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        int fd = -1;
        if (std::from_chars(name.data(), name.data() + name.size(), fd).ec == std::errc() &&
            leadsToDaemon(fd))
            return true;
    }
    return false;
}

} // namespace

SoleDaemon::SoleDaemon() {
    if (isThere.test_and_set())
        throw std::runtime_error("this process has a scripted daemon already: end that one first");
    try {
        if (hasConnection())
            throw std::runtime_error("this process is connected to another daemon, which it would go on "
                                     "asking: start the scripted daemon before the first request");
    } catch (...) {
        isThere.clear();
        throw;
    }
}

SoleDaemon::~SoleDaemon() {
    isThere.clear();
}

} // namespace wickerlane

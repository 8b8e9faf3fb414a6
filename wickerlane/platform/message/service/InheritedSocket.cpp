#include "wickerlane/platform/message/service/InheritedSocket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "wickerlane/platform/object/Paths.h"

namespace wickerlane {
namespace {

// The number that a variable of the environment holds; -1 when it holds none.
int numberIn(const char *variable) {
    const char *text = std::getenv(variable);
    const std::string_view digits = text != nullptr ? text : "";
    int number = -1;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && end == digits.data() + digits.size() ? number : -1;
}

} // namespace

InheritedSocket takeInheritedSocket(std::string_view serviceName) {
    if (numberIn("LISTEN_PID") != getpid())
        return {};
    constexpr int maxInherited = 64;
    for (int i = 0; i < std::min(numberIn("LISTEN_FDS"), maxInherited); ++i) {
        const int fd = firstInheritedDescriptor + i;
        // Taking a socket marks it close-on-exec, which also says that it was taken.
        const int flags = fcntl(fd, F_GETFD);
        int listens = 0;
        socklen_t size = sizeof listens;
        sockaddr_un address{};
        socklen_t length = sizeof address - 1;
        if (flags < 0 || (flags & FD_CLOEXEC) != 0 ||
            getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) != 0 || listens == 0 ||
            getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) != 0 ||
            address.sun_family != AF_UNIX)
            continue;
        if (lastPathComponent(address.sun_path) != serviceName)
            continue;
        fcntl(fd, F_SETFD, FD_CLOEXEC);
        return {.socket = UniqueFd(fd), .isManaged = std::getenv(startedByClientVariable) == nullptr};
    }
    return {};
}

} // namespace wickerlane

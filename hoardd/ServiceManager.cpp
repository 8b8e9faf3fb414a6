#include "hoardd/ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::hoardd {

// One datagram; libsystemd would load its decompressors into the daemon for it.
void tellServiceManager(std::string_view state) {
    const char *text = std::getenv("NOTIFY_SOCKET");
    const std::string_view path = text != nullptr ? text : "";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty())
        return;
    const bool isAbstract = path.front() == '@';
    if ((path.front() != '/' && !isAbstract) || path.size() >= sizeof address.sun_path) {
        consoleLog("hoardd: NOTIFY_SOCKET is no path of a socket");
        return;
    }
    path.copy(address.sun_path, path.size());
    if (isAbstract)
        address.sun_path[0] = 0;
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    const UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const auto *to = reinterpret_cast<const sockaddr *>(&address);
    if (!socket || retryInterrupted([&] {
                       return sendto(socket.get(), state.data(), state.size(), MSG_NOSIGNAL, to, length);
                   }) < 0)
        consoleLog("hoardd: the service manager can't be told \"%.*s\": %s", static_cast<int>(state.size()),
                   state.data(), strerrordesc_np(errno));
}

} // namespace wickerlane::hoardd

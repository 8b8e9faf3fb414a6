#include "wickerlane/platform/message/service/ServiceSocket.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {

namespace {

constexpr mode_t enterAll = S_IXGRP | S_IXOTH, readAll = S_IRGRP | S_IROTH, writeAll = S_IWGRP | S_IWOTH;

/// On a device every user may come as far as the socket; whom it serves, the service decides.
struct Modes {
    mode_t above = 0; ///< What the folders above get besides what they have.
    mode_t folder = S_IRWXU;
    mode_t socket = S_IRUSR | S_IWUSR;
};

Modes modesBelowRoot() {
    if (access(pathUnderRoot("/etc/wickerlane/device").c_str(), F_OK) != 0)
        return {};
    return {.above = enterAll,
            .folder = S_IRWXU | readAll | enterAll,
            .socket = S_IRUSR | S_IWUSR | readAll | writeAll};
}

/// Whatever the umask took when the folder was made. `kept` are the bits that it may keep. That of another
/// owner is left to its owner.
void setMode(const char *systemPath, mode_t mode, mode_t kept) {
    const std::string folder = pathUnderRoot(systemPath);
    struct stat status {};
    if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid())
        return;
    const mode_t before = status.st_mode & ALLPERMS, after = mode | (before & kept);
    if (after != before)
        chmod(folder.c_str(), after);
}

} // namespace

bool isServiceName(std::string_view name) noexcept {
    // Leaves room in an address for "/proc/self/fd/" and a number.
    constexpr std::size_t maxBytes = 80;
    return !name.empty() && name.size() <= maxBytes && name.front() != '.' &&
           std::ranges::none_of(name, [](char c) { return c == '/' || c == 0; });
}

ServiceSocket::ServiceSocket(std::string_view serviceName)
    : name(serviceName), folder(pathUnderRoot("/var/run/wickerlane/services")) {
    if (!makeFolders(folder)) {
        folderError = errno;
        return;
    }
    const Modes modes = modesBelowRoot();
    for (const char *above : {"/var", "/var/run"})
        setMode(above, modes.above, ALLPERMS);
    for (const char *ours : {"/var/run/wickerlane", "/var/run/wickerlane/services"})
        setMode(ours, modes.folder, 0);
    folderDescriptor.reset(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

sockaddr_un ServiceSocket::address() const {
    // An address holds no more than 107 characters; a longer path is reached through the folder's descriptor.
    sockaddr_un result{};
    result.sun_family = AF_UNIX;
    std::string path = this->path();
    if (path.size() >= sizeof result.sun_path)
        path = "/proc/self/fd/" + std::to_string(folderDescriptor.get()) + '/' + name;
    path.copy(result.sun_path, sizeof result.sun_path - 1);
    return result;
}

UniqueFd ServiceSocket::connect() const {
    UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd)
        return {};
    // Limits the wait for room in the queue of a service that accepts no client.
    const timeval limit{.tv_sec = MessageLimits::startTime.count() / 1000, .tv_usec = 0};
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    const sockaddr_un to = address();
    if (retryInterrupted(
            [&] { return ::connect(fd.get(), reinterpret_cast<const sockaddr *>(&to), sizeof to); }) != 0)
        return {};
    const timeval none{};
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &none, sizeof none);
    return fd;
}

UniqueFd ServiceSocket::listen() const {
    UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd)
        return {};
    remove();
    const sockaddr_un to = address();
    // Before it is bound it may be too narrow, by the umask, and never too wide.
    const mode_t mode = modesBelowRoot().socket;
    if (fchmod(fd.get(), mode) != 0)
        return {};
    if (bind(fd.get(), reinterpret_cast<const sockaddr *>(&to), sizeof to) != 0 ||
        fchmodat(folderDescriptor.get(), name.c_str(), mode, 0) != 0 || ::listen(fd.get(), SOMAXCONN) != 0)
        return {};
    return fd;
}

void ServiceSocket::remove() const {
    unlinkat(folderDescriptor.get(), name.c_str(), 0);
}

UniqueFd ServiceSocket::lock() const {
    if (folderError != 0) {
        errno = folderError;
        return {};
    }
    const std::string file = '.' + name + ".lock";
    UniqueFd fd = openFile(folder + '/' + file, O_RDWR | O_CREAT);
    if (fd && !lockFile(fd.get(), FileLock::exclusive))
        fd.reset();
    return fd;
}

} // namespace wickerlane

#include "wickerlane/platform/message/service/ServiceSocket.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

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
    if (!isRootOfDevice())
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

UniqueFd openFolder(const std::string &path) {
    return UniqueFd(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

} // namespace

bool isServiceName(std::string_view name) noexcept {
    // Leaves room in an address for "/proc/self/fd/" and a number.
    constexpr std::size_t maxBytes = 80;
    return !name.empty() && name.size() <= maxBytes && name.front() != '.' &&
           std::ranges::none_of(name, [](char c) { return c == '/' || c == 0; });
}

ServiceSocket::ServiceSocket(std::string_view serviceName)
    : name(serviceName), rooted{.path = pathUnderRoot("/var/run/wickerlane/services"), .descriptor = {}} {
    if (!makeFolders(rooted.path)) {
        folderError = errno;
        return;
    }
    const Modes modes = modesBelowRoot();
    for (const char *above : {"/var", "/var/run"})
        setMode(above, modes.above, ALLPERMS);
    for (const char *ours : {"/var/run/wickerlane", "/var/run/wickerlane/services"})
        setMode(ours, modes.folder, 0);
    rooted.descriptor = openFolder(rooted.path);
    if (const std::string runtime = runtimeFolder(); !runtime.empty()) {
        session.path = runtime + "/wickerlane/services";
        if (makeFolders(session.path))
            session.descriptor = openFolder(session.path);
    }
}

std::string ServiceSocket::linked() const {
    std::error_code failure;
    return std::filesystem::read_symlink(rooted.path + '/' + name, failure);
}

std::string ServiceSocket::path() const {
    if (std::string elsewhere = linked(); !elsewhere.empty())
        return elsewhere;
    const std::string inRoot = rooted.path + '/' + name;
    return session.descriptor && access(inRoot.c_str(), F_OK) != 0 ? session.path + '/' + name : inRoot;
}

std::optional<std::pair<dev_t, ino_t>> ServiceSocket::identity() const {
    struct stat status {};
    if (lstat(path().c_str(), &status) != 0)
        return std::nullopt;
    return std::pair(status.st_dev, status.st_ino);
}

sockaddr_un ServiceSocket::addressIn(const Folder &folder) const {
    // An address holds no more than 107 characters; a longer path is reached through the folder's descriptor.
    sockaddr_un result{};
    result.sun_family = AF_UNIX;
    std::string path = folder.path + '/' + name;
    if (path.size() >= sizeof result.sun_path)
        path = "/proc/self/fd/" + std::to_string(folder.descriptor.get()) + '/' + name;
    path.copy(result.sun_path, sizeof result.sun_path - 1);
    return result;
}

UniqueFd ServiceSocket::connect() const {
    UniqueFd fd = connectIn(rooted);
    // A service manager may listen there and have left no link.
    if (!fd && session.descriptor && (errno == ENOENT || errno == ECONNREFUSED))
        fd = connectIn(session);
    return fd;
}

UniqueFd ServiceSocket::connectIn(const Folder &folder) const {
    UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd)
        return {};
    // Limits the wait for room in the queue of a service that accepts no client.
    const timeval limit{.tv_sec = MessageLimits::startTime.count() / 1000, .tv_usec = 0};
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    const sockaddr_un to = addressIn(folder);
    if (retryInterrupted(
            [&] { return ::connect(fd.get(), reinterpret_cast<const sockaddr *>(&to), sizeof to); }) != 0)
        return {};
    const timeval none{};
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &none, sizeof none);
    return fd;
}

UniqueFd ServiceSocket::listen() const {
    remove();
    UniqueFd fd = listenInSession();
    return fd ? std::move(fd) : listenIn(rooted);
}

UniqueFd ServiceSocket::listenBelowRoot() const {
    remove();
    return listenIn(rooted);
}

UniqueFd ServiceSocket::listenInSession() const {
    UniqueFd fd = session.descriptor ? listenIn(session) : UniqueFd();
    const std::string made = session.path + '/' + name;
    if (fd && symlinkat(made.c_str(), rooted.descriptor.get(), name.c_str()) != 0) {
        unlinkat(session.descriptor.get(), name.c_str(), 0);
        fd.reset();
    }
    return fd;
}

UniqueFd ServiceSocket::listenIn(const Folder &folder) const {
    UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd)
        return {};
    const sockaddr_un to = addressIn(folder);
    // Before it is bound it may be too narrow, by the umask, and never too wide.
    const mode_t mode = modesBelowRoot().socket;
    if (fchmod(fd.get(), mode) != 0)
        return {};
    if (bind(fd.get(), reinterpret_cast<const sockaddr *>(&to), sizeof to) != 0 ||
        fchmodat(folder.descriptor.get(), name.c_str(), mode, 0) != 0 || ::listen(fd.get(), SOMAXCONN) != 0)
        return {};
    return fd;
}

void ServiceSocket::remove() const {
    // The process that made it may have had another runtime folder.
    if (const std::string elsewhere = linked(); elsewhere.ends_with('/' + name))
        unlink(elsewhere.c_str());
    for (const Folder *each : {&session, &rooted})
        if (each->descriptor)
            unlinkat(each->descriptor.get(), name.c_str(), 0);
}

UniqueFd ServiceSocket::lock() const {
    if (folderError != 0) {
        errno = folderError;
        return {};
    }
    const std::string file = '.' + name + ".lock";
    UniqueFd fd = openFile(rooted.path + '/' + file, O_RDWR | O_CREAT);
    if (fd && !lockFile(fd.get(), FileLock::exclusive))
        fd.reset();
    return fd;
}

} // namespace wickerlane

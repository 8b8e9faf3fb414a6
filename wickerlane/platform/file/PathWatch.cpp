#include "wickerlane/platform/file/PathWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "wickerlane/platform/file/Retry.h"

namespace wickerlane {
namespace {

constexpr std::uint32_t changesOfFile = IN_MODIFY | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t changesInFolder = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB |
                                          IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

// The folders before what is in them, so that one that is replaced meanwhile is noticed in the one above.
bool PathWatch::begin(const std::string &path) {
    isKnown = false;
    names.clear();
    if (path.empty() || path[0] != '/')
        return false;
    if (!inotify)
        inotify.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!inotify)
        return false;
    isKnown = true;
    static_cast<void>(isUnchanged()); // reads what is old
    isKnown = true;
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at + 1), path.size());
        const std::string folder = at == 0 ? "/" : path.substr(0, at);
        if (!watch(folder, path.substr(at + 1, end - at - 1), changesInFolder))
            return isKnown = errno == ENOENT && at != 0; // it will be made in the one above
        at = end;
    }
    if (!watch(path, {}, changesOfFile) && errno != ENOENT)
        isKnown = false;
    return isKnown;
}

bool PathWatch::watch(const std::string &path, std::string name, std::uint32_t events) {
    const int number = inotify_add_watch(inotify.get(), path.c_str(), events | IN_DONT_FOLLOW);
    if (number < 0)
        return false;
    if (names.emplace(number, std::move(name)).second)
        return true;
    errno = EINVAL; // the path leads through a folder twice
    return false;
}

bool PathWatch::isUnchanged() noexcept {
    alignas(inotify_event) std::array<char, 4096> buffer;
    while (isKnown) {
        const ssize_t length =
            retryInterrupted([&] { return read(inotify.get(), buffer.data(), buffer.size()); });
        if (length <= 0)
            return isKnown = length < 0 && errno == EAGAIN;
        for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof event);
            const char *name = event.len > 0 ? buffer.data() + at + sizeof event : "";
            at += sizeof event + event.len;
            const auto watched = names.find(event.wd);
            // Without a name it is about what is watched itself; an overflow is about anything.
            if ((event.mask & IN_Q_OVERFLOW) != 0 ||
                (watched != names.end() && (*name == '\0' || watched->second == name)))
                isKnown = false;
        }
    }
    return false;
}

} // namespace wickerlane

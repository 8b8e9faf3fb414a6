#include "wickerlane/platform/notification/NotificationCenter.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <vector>

#include "wickerlane/platform/file/Files.h"

namespace wickerlane {
namespace {

constexpr std::size_t longestName = 200;

bool isValidName(std::string_view name) {
    const bool valid = !name.empty() && name.size() <= longestName && name != "." && name != ".." &&
                       name.find('/') == std::string_view::npos;
    if (!valid)
        errno = EINVAL;
    return valid;
}

// The folder of the names, made when missing; empty, with errno, when it can't be, or when others may write
// to it.
std::string usableFolder() {
    std::string folder = pathUnderRoot("/var/run/wickerlane/notify");
    if (!makeFolders(folder))
        return {};
    struct stat status {};
    if (lstat(folder.c_str(), &status) != 0)
        return {};
    const bool owned = status.st_uid == geteuid() || geteuid() == 0;
    if (!owned || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        errno = EPERM;
        return {};
    }
    return folder;
}

} // namespace

bool postNotification(const char *name) {
    if (name == nullptr || !isValidName(name))
        return false;
    const std::string folder = usableFolder();
    return !folder.empty() && openFile(folder + "/" + name, O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY);
}

NotificationToken registerNotification(const char *name, WorkQueue *queue,
                                       Handler<void(NotificationToken)> handler) {
    if (name == nullptr || queue == nullptr || handler == nullptr) {
        errno = EINVAL;
        return 0;
    }
    return isValidName(name) ? NotificationCenter::shared().add(name, queue, std::move(handler)) : 0;
}

bool cancelNotification(NotificationToken token) {
    return NotificationCenter::shared().cancel(token);
}

NotificationCenter &NotificationCenter::shared() {
    static NotificationCenter &center = *new NotificationCenter;
    return center;
}

// Called under the mutex.
bool NotificationCenter::start() {
    if (inotify)
        return true;
    inotify.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!inotify)
        return false;
    source = DescriptorSource::create(inotify.get(), [this](std::uint32_t) { readReports(); });
    source->arm(EPOLLIN);
    return true;
}

NotificationToken NotificationCenter::add(std::string name, WorkQueue *queue,
                                          Handler<void(NotificationToken)> handler) {
    const std::string folder = usableFolder();
    std::lock_guard guard(mutex);
    if (folder.empty() || !start())
        return 0;
    // For a folder that is watched already, this gives the same watch.
    const int watch =
        inotify_add_watch(inotify.get(), folder.c_str(), IN_CLOSE_WRITE | IN_ONLYDIR | IN_DONT_FOLLOW);
    if (watch < 0)
        return 0;
    do
        lastToken = lastToken == INT_MAX ? 1 : lastToken + 1;
    while (registrations.contains(lastToken));
    registrations.emplace(lastToken, std::make_shared<Registration>(lastToken, watch, std::move(name), queue,
                                                                    std::move(handler)));
    return lastToken;
}

bool NotificationCenter::cancel(NotificationToken token) {
    std::shared_ptr<Registration> ended;
    Handler<void(NotificationToken)> dropped; // after the locks: what it holds may cancel others
    std::lock_guard guard(mutex);
    const auto found = registrations.find(token);
    if (found == registrations.end()) {
        errno = EINVAL;
        return false;
    }
    ended = std::move(found->second);
    registrations.erase(found);
    if (std::none_of(registrations.begin(), registrations.end(),
                     [&](const auto &each) { return each.second->watch == ended->watch; }))
        inotify_rm_watch(inotify.get(), ended->watch);
    std::lock_guard registrationGuard(ended->mutex);
    dropped = std::move(ended->handler);
    return true;
}

// On the reader thread.
void NotificationCenter::readReports() {
    alignas(inotify_event) std::array<char, 8192> buffer;
    for (;;) {
        const ssize_t length = read(inotify.get(), buffer.data(), buffer.size());
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            break;
        for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
            inotify_event report;
            std::memcpy(&report, buffer.data() + at, sizeof report);
            if ((report.mask & IN_Q_OVERFLOW) != 0)
                deliver(-1, {});
            else if ((report.mask & IN_CLOSE_WRITE) != 0 && report.len > 0)
                deliver(report.wd, buffer.data() + at + sizeof report);
            at += sizeof report + report.len;
        }
    }
    source->arm(EPOLLIN);
}

// Calls for a name; for a watch of -1 calls everybody, since reports were lost.
void NotificationCenter::deliver(int watch, std::string_view name) {
    std::vector<std::shared_ptr<Registration>> concerned;
    {
        std::lock_guard guard(mutex);
        for (const auto &[token, registration] : registrations)
            if (watch < 0 || (registration->watch == watch && registration->name == name))
                concerned.push_back(registration);
    }
    for (const auto &registration : concerned) {
        {
            std::lock_guard guard(registration->mutex);
            if (registration->handler == nullptr || std::exchange(registration->called, true))
                continue;
        }
        registration->queue->async([registration] { call(registration); });
    }
}

void NotificationCenter::call(const std::shared_ptr<Registration> &registration) {
    Handler<void(NotificationToken)> handler;
    {
        std::lock_guard guard(registration->mutex);
        registration->called = false; // a post from now on is news
        handler = registration->handler;
    }
    if (handler)
        handler(registration->token);
}

} // namespace wickerlane

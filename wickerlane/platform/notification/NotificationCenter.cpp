#include "wickerlane/platform/notification/NotificationCenter.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <vector>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/process/ForkedChild.h"

namespace wickerlane {
namespace {

constexpr std::size_t maxNameLength = 200;

bool isValidName(std::string_view name) {
    const bool valid = !name.empty() && name.size() <= maxNameLength && name != "." && name != ".." &&
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
    static NeverDestroyed<NotificationCenter> center;
    return *center;
}

NotificationToken NotificationCenter::add(std::string name, WorkQueue *queue,
                                          Handler<void(NotificationToken)> handler) {
    if (isForkedChild()) {
        errno = ENOTSUP;
        return 0;
    }
    const std::string folder = usableFolder();
    const MutexLock lock(mutex);
    const int watch = folder.empty() ? -1 : folders.add(folder, IN_CLOSE_WRITE);
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
    if (isForkedChild())
        return true; // no handler runs here
    std::shared_ptr<Registration> ended;
    Handler<void(NotificationToken)> dropped; // after the locks: what it holds may cancel others
    const MutexLock lock(mutex);
    const auto found = registrations.find(token);
    if (found == registrations.end()) {
        errno = EINVAL;
        return false;
    }
    ended = std::move(found->second);
    registrations.erase(found);
    if (std::none_of(registrations.begin(), registrations.end(),
                     [&](const auto &each) { return each.second->watch == ended->watch; }))
        folders.remove(ended->watch);
    const MutexLock endedLock(ended->mutex);
    dropped = std::move(ended->handler);
    return true;
}

// On the reader thread. Calls the handlers of a name; all handlers for a watch of -1, since reports were
// lost.
void NotificationCenter::deliver(int watch, std::string_view name) {
    std::vector<std::shared_ptr<Registration>> concerned;
    {
        const MutexLock lock(mutex);
        for (const auto &[token, registration] : registrations)
            if (watch < 0 || (registration->watch == watch && registration->name == name))
                concerned.push_back(registration);
    }
    for (const auto &registration : concerned) {
        {
            const MutexLock lock(registration->mutex);
            if (registration->handler == nullptr || std::exchange(registration->called, true))
                continue;
        }
        registration->queue->async([registration] { call(registration); });
    }
}

void NotificationCenter::call(const std::shared_ptr<Registration> &registration) {
    Handler<void(NotificationToken)> handler;
    {
        const MutexLock lock(registration->mutex);
        registration->called = false; // a post from now on is news
        handler = registration->handler;
    }
    if (handler)
        handler(registration->token);
}

} // namespace wickerlane

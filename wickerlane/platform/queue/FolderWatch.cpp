#include "wickerlane/platform/queue/FolderWatch.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/process/ForkedChild.h"

namespace wickerlane {
namespace {

constexpr std::uint32_t itself = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t newcomers = IN_CREATE | IN_MOVED_TO;

// A folder may be watched for itself and for one below it: the events of both count.
int addWatch(int inotify, const std::string &folder, std::uint32_t events) {
    return inotify_add_watch(inotify, folder.c_str(), events | itself | IN_ONLYDIR | IN_MASK_ADD);
}

} // namespace

int FolderWatch::add(const std::string &folder, std::uint32_t events) {
    if (isForkedChild()) {
        errno = ENOTSUP;
        return -1;
    }
    const MutexLock lock(mutex);
    if (!open())
        return -1;
    for (auto &[number, watched] : folders)
        if (watched.path == folder && watched.events == events) {
            // It may be a new folder, and the reports of that not be read yet.
            const int descriptor = watched.descriptor;
            if (!watch(watched))
                return -1;
            if (watched.descriptor != descriptor)
                stopUnlessUsed(descriptor);
            return number;
        }
    Watched watched{folder, events};
    if (!watch(watched))
        return -1;
    folders.emplace(++lastNumber, std::move(watched));
    return lastNumber;
}

void FolderWatch::remove(int folder) {
    if (isForkedChild())
        return; // the watch is the parent's too
    const MutexLock lock(mutex);
    if (const auto found = folders.find(folder); found != folders.end()) {
        const int descriptor = found->second.descriptor;
        folders.erase(found);
        stopUnlessUsed(descriptor);
    }
}

bool FolderWatch::open() {
    if (inotify)
        return true;
    inotify.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!inotify)
        return false;
    source = DescriptorSource::create(inotify.get(), [this](std::uint32_t) { readReports(); });
    if (source == nullptr) {
        inotify.reset();
        return false;
    }
    source->arm(EPOLLIN);
    return true;
}

bool FolderWatch::watch(Watched &watched) {
    watched.descriptor = addWatch(inotify.get(), watched.path, watched.events | IN_DONT_FOLLOW);
    watched.isThere = watched.descriptor >= 0;
    return watched.isThere;
}

// Folders may be made while this looks for the nearest: it has found it when it finds the same one again.
// Without one that can be watched, the folder is no longer watched.
void FolderWatch::watchAbove(Watched &watched) {
    int waiting = -1;
    while (!watch(watched)) {
        std::string above(watched.path);
        int nearest = -1;
        do {
            above = parentFolder(above);
            nearest = addWatch(inotify.get(), above, newcomers);
        } while (nearest < 0 && errno == ENOENT && above.size() > 1);
        if (nearest == waiting || nearest < 0) {
            watched.descriptor = waiting;
            return;
        }
        stopUnlessUsed(waiting);
        waiting = nearest;
    }
    stopUnlessUsed(waiting);
}

void FolderWatch::stopUnlessUsed(int descriptor) {
    const bool isUsed =
        std::ranges::any_of(folders, [&](const auto &each) { return each.second.descriptor == descriptor; });
    if (!isUsed && descriptor >= 0)
        inotify_rm_watch(inotify.get(), descriptor);
}

void FolderWatch::take(const Event &event, std::vector<Report> &reports) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        reports.push_back({-1, {}});
        return;
    }
    for (auto &[number, watched] : folders) {
        if (watched.descriptor != event.descriptor)
            continue;
        if (watched.isThere && !event.name.empty() && (event.mask & watched.events) != 0)
            reports.push_back({number, event.name});
        const bool hasGone = (event.mask & (itself | IN_IGNORED | IN_UNMOUNT)) != 0;
        const bool mayBeThere = !watched.isThere && (event.mask & newcomers) != 0;
        if (!hasGone && !mayBeThere)
            continue;
        const bool wasThere = watched.isThere;
        watchAbove(watched);
        if (watched.descriptor != event.descriptor)
            stopUnlessUsed(event.descriptor);
        if (wasThere || watched.isThere) // all its files have gone, or some came before it was watched
            reports.push_back({-1, {}});
    }
}

// On the reader thread.
void FolderWatch::readReports() {
    alignas(inotify_event) std::array<char, 8192> buffer;
    std::vector<Report> reports;
    for (;;) {
        const ssize_t length =
            retryInterrupted([&] { return read(inotify.get(), buffer.data(), buffer.size()); });
        if (length <= 0)
            break;
        reports.clear();
        for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof event);
            const MutexLock lock(mutex);
            take({event.wd, event.mask,
                  event.len > 0 ? std::string_view(buffer.data() + at + sizeof event) : std::string_view()},
                 reports);
            at += sizeof event + event.len;
        }
        if (!reports.empty())
            handler(reports);
    }
    source->arm(EPOLLIN);
}

} // namespace wickerlane

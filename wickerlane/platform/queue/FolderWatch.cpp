#include "wickerlane/platform/queue/FolderWatch.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <vector>

#include "wickerlane/platform/file/Retry.h"

namespace wickerlane {

int FolderWatch::add(const std::string &folder, std::uint32_t events) {
    const MutexLock lock(mutex);
    if (!inotify) {
        inotify.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        if (!inotify)
            return -1;
        source = DescriptorSource::create(inotify.get(), [this](std::uint32_t) { readReports(); });
        source->arm(EPOLLIN);
    }
    return inotify_add_watch(inotify.get(), folder.c_str(), events | IN_ONLYDIR | IN_DONT_FOLLOW);
}

void FolderWatch::remove(int folder) {
    const MutexLock lock(mutex);
    inotify_rm_watch(inotify.get(), folder);
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
            if ((event.mask & IN_Q_OVERFLOW) != 0)
                reports.push_back({-1, {}});
            else if (event.len > 0) // else it tells of the folder itself
                reports.push_back({event.wd, buffer.data() + at + sizeof event});
            at += sizeof event + event.len;
        }
        if (!reports.empty())
            handler(reports);
    }
    source->arm(EPOLLIN);
}

} // namespace wickerlane

#include "hoardd/saving/SettledFile.h"

#include <fcntl.h>

#include <cerrno>
#include <csignal>
#include <cstdint>

namespace wickerlane::hoardd {

bool isOpenForWriting(int descriptor) {
    // Should a program open it for writing while the lease is held, the kernel sends a signal; the usual one
    // would end this process, and this one is ignored by default.
    if (::fcntl(descriptor, F_SETSIG, SIGURG) != 0)
        return false;
    if (::fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0)
        return errno == EAGAIN;
    ::fcntl(descriptor, F_SETLEASE, F_UNLCK);
    return false;
}

bool isLeftAlone(const struct stat &status, std::chrono::seconds quiet) {
    const std::int64_t age =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
            .count() -
        status.st_mtim.tv_sec;
    return age > quiet.count() || age < -quiet.count();
}

bool isStill(const char *path, const struct stat &status) {
    struct stat now {};
    return ::lstat(path, &now) == 0 && now.st_dev == status.st_dev && now.st_ino == status.st_ino &&
           now.st_size == status.st_size && now.st_mtim.tv_sec == status.st_mtim.tv_sec &&
           now.st_mtim.tv_nsec == status.st_mtim.tv_nsec;
}

} // namespace wickerlane::hoardd

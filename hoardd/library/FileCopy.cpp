#include "hoardd/library/FileCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>
#include <vector>

#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

namespace {

/// Through this process, for pairs of file systems that can't copy among themselves. 0 or errno.
int copyThroughMemory(int source, int destination) {
    std::vector<std::byte> block(256 << 10);
    for (off_t offset = 0;;) {
        const ssize_t count = ::pread(source, block.data(), block.size(), offset);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0)
            return 0;
        if (!writeAll(destination, std::span(block).first(static_cast<std::size_t>(count))))
            return errno;
        offset += count;
    }
}

/// 0 or errno.
int copyBytes(int source, int destination) {
    for (off_t offset = 0;;) {
        const ssize_t count = ::copy_file_range(source, &offset, destination, nullptr, 1U << 30, 0);
        if (count == 0)
            return 0;
        if (count > 0 || errno == EINTR)
            continue;
        // What some file systems say before the first byte when they can't do it.
        const bool isUnable = errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
        return isUnable && offset == 0 ? copyThroughMemory(source, destination) : errno;
    }
}

bool isSameState(const struct stat &a, const struct stat &b) {
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

} // namespace

std::string copyFile(int source, int destination) {
    struct stat before {
    }, after{}, copied{};
    if (::fstat(source, &before) != 0)
        return std::strerror(errno);
    if (const int error = copyBytes(source, destination); error != 0)
        return std::strerror(error);
    if (::fstat(source, &after) != 0 || ::fstat(destination, &copied) != 0)
        return std::strerror(errno);
    if (!isSameState(before, after) || copied.st_size != before.st_size)
        return "the file changed while it was being copied";
    return {};
}

bool moveInto(const std::string &folder, const std::string &path) {
    if (!makeFolders(folder))
        return false;
    const std::string name = path.substr(path.rfind('/') + 1);
    constexpr int mostOfOneName = 1000;
    for (int number = 0; number < mostOfOneName; ++number) {
        std::string place = folder + '/';
        if (number != 0)
            place += std::to_string(number) + '-';
        if (::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, place.append(name).c_str(), RENAME_NOREPLACE) == 0)
            return syncFolder(folder);
        if (errno != EEXIST)
            return errno == ENOENT;
    }
    return false;
}

} // namespace wickerlane::hoardd

#include "hoardd/library/FileCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <span>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"

namespace wickerlane::hoardd {

namespace {

/// Through this process, for pairs of file systems that can't copy among themselves.
Result<> copyThroughMemory(int source, int destination, off_t length, const std::string &path) {
    constexpr std::size_t blockBytes = 256 << 10;
    const auto block = std::make_unique_for_overwrite<std::byte[]>(blockBytes);
    for (off_t offset = 0; offset < length;) {
        const ssize_t count =
            retryInterrupted([&] { return ::pread(source, block.get(), blockBytes, offset); });
        if (count == 0)
            return {};
        if (count < 0 || !writeAll(destination, std::span(block.get(), static_cast<std::size_t>(count))))
            return failSystem("write", path);
        offset += count;
    }
    return {};
}

/// As many as there were at first: a file that grows all the time has no end.
Result<> copyBytes(int source, int destination, off_t length, const std::string &path) {
    constexpr off_t atOnce = 1 << 30;
    for (off_t offset = 0; offset < length;) {
        const auto rest = static_cast<std::size_t>(std::min(length - offset, atOnce));
        const ssize_t count = retryInterrupted(
            [&] { return ::copy_file_range(source, &offset, destination, nullptr, rest, 0); });
        if (count == 0)
            return {};
        if (count > 0)
            continue;
        // What some file systems say before the first byte when they can't do it.
        const bool isUnable = errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
        if (!isUnable || offset != 0)
            return failSystem("write", path);
        return copyThroughMemory(source, destination, length, path);
    }
    return {};
}

bool isSameState(const struct stat &a, const struct stat &b) {
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

} // namespace

Result<> copyFile(int source, int destination, const std::string &path) {
    struct stat before {
    }, after{}, copied{};
    if (::fstat(source, &before) != 0)
        return failSystem("write", path);
    if (auto done = copyBytes(source, destination, before.st_size, path); !done)
        return done;
    if (::fstat(source, &after) != 0 || ::fstat(destination, &copied) != 0)
        return failSystem("write", path);
    if (!isSameState(before, after) || copied.st_size != before.st_size)
        return fail(ProblemKind::busy, "the file changed while it was being copied");
    return {};
}

} // namespace wickerlane::hoardd

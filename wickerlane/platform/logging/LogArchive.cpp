#include "wickerlane/platform/logging/LogArchive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <zlib.h>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <vector>

#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"

namespace wickerlane {
namespace {

bool isThere(const std::string &path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

// The number that a regular file keeps through all renaming; none when there is no such file.
std::optional<unsigned long> inodeOf(const std::string &path) {
    struct stat status;
    if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return status.st_ino;
}

// Copies what is left of one file into another, compressed, and makes sure that it is on the disk. At the
// fastest level: lines are alike enough, and a flood of them should not cost a processor.
bool gzip(int from, int to) {
    const int owned = fcntl(to, F_DUPFD_CLOEXEC, 0);
    gzFile stream = owned < 0 ? nullptr : gzdopen(owned, "wb1");
    if (stream == nullptr) {
        if (owned >= 0)
            ::close(owned);
        return false;
    }
    std::vector<char> buffer(std::size_t{256} << 10);
    ssize_t got;
    while ((got = retryInterrupted([&] { return ::read(from, buffer.data(), buffer.size()); })) != 0) {
        if (got < 0 || gzwrite(stream, buffer.data(), static_cast<unsigned>(got)) != got) {
            gzclose(stream);
            return false;
        }
    }
    return gzclose(stream) == Z_OK && fsync(to) == 0;
}

} // namespace

FolderLock::FolderLock(const std::string &folder) {
    descriptor = openFile(folder, O_RDONLY | O_DIRECTORY);
    if (!descriptor && errno == ENOENT && makeFolders(folder))
        descriptor = openFile(folder, O_RDONLY | O_DIRECTORY);
    if (descriptor && !lockFile(descriptor.get(), FileLock::exclusive))
        descriptor.reset();
}

LogArchive::LogArchive(std::string folder, std::string name)
    : folderPath(std::move(folder)), stem(folderPath + "/" + name) {
}

std::string LogArchive::plainPath(unsigned number) const {
    return stem + "." + std::to_string(number) + ".log";
}

std::string LogArchive::compressedPath(unsigned number) const {
    return plainPath(number) + ".gz";
}

// Named after the plain file, so that a later attempt, or the removal of that file, finds what is left of
// this one.
std::string LogArchive::unfinishedPath(unsigned long inode) const {
    return stem + "." + std::to_string(inode) + ".unfinished";
}

bool LogArchive::exists(unsigned number) const {
    return isThere(plainPath(number)) || isThere(compressedPath(number));
}

void LogArchive::remove(unsigned number) const {
    if (const auto inode = inodeOf(plainPath(number)))
        ::unlink(unfinishedPath(*inode).c_str());
    ::unlink(plainPath(number).c_str());
    ::unlink(compressedPath(number).c_str());
}

bool LogArchive::finishCurrent(unsigned kept) const {
    // Marked before it is moved: after a death in between, the mark says that it is to be moved.
    const UniqueFd current = openFile(currentPath(), O_RDONLY | O_NONBLOCK);
    if (!current || fchmod(current.get(), S_IRUSR) != 0)
        return false;
    for (unsigned number = kept + 1; exists(number); ++number)
        remove(number);
    if (kept == 0)
        return ::unlink(currentPath().c_str()) == 0;
    unsigned free = 1;
    while (free < kept && exists(free))
        ++free;
    remove(free);
    for (unsigned number = free - 1; number > 0; --number) {
        std::rename(compressedPath(number).c_str(), compressedPath(number + 1).c_str());
        std::rename(plainPath(number).c_str(), plainPath(number + 1).c_str());
    }
    return std::rename(currentPath().c_str(), plainPath(1).c_str()) == 0;
}

bool LogArchive::hasPlainFiles(unsigned kept) const {
    for (unsigned number = 1; number <= kept; ++number)
        if (isThere(plainPath(number)))
            return true;
    return false;
}

void LogArchive::compress(unsigned kept) const {
    for (unsigned number = 1; number <= kept; ++number) {
        UniqueFd plain;
        {
            const FolderLock lock(folderPath);
            if (!lock)
                return;
            // Only a whole compressed file ever gets its name: the plain one is not needed any more.
            if (isThere(compressedPath(number))) {
                ::unlink(plainPath(number).c_str());
                continue;
            }
            plain = openFile(plainPath(number), O_RDONLY | O_NONBLOCK);
            // A process that still writes it, or compresses it, compresses it in the end.
            if (!plain || !tryLockFile(plain.get(), FileLock::exclusive))
                continue;
        }
        compressFile(plain.get(), kept);
    }
}

void LogArchive::compressFile(int plain, unsigned kept) const {
    struct stat status;
    if (fstat(plain, &status) != 0 || !S_ISREG(status.st_mode))
        return;
    const std::string unfinished = unfinishedPath(status.st_ino);
    const UniqueFd compressed = openFile(unfinished, O_WRONLY | O_CREAT | O_TRUNC);
    if (!compressed)
        return;
    const bool whole = gzip(plain, compressed.get());
    const FolderLock lock(folderPath);
    // Meanwhile it may have got another number, or none.
    for (unsigned number = 1; whole && lock && number <= kept; ++number)
        if (inodeOf(plainPath(number)) == status.st_ino) {
            if (std::rename(unfinished.c_str(), compressedPath(number).c_str()) == 0)
                ::unlink(plainPath(number).c_str());
            break;
        }
    ::unlink(unfinished.c_str());
}

} // namespace wickerlane

#include "wickerlane/platform/logging/LogFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {
namespace {

// Another process may have finished the file, or filled it. Asking the kernel before each line would cost
// half as much as the line; this is soon enough, since a line that comes late is still read before the file
// is compressed.
constexpr std::int64_t longestUnlooked = 10'000'000;
// While a file can't be opened, lines are dropped at little cost.
constexpr std::int64_t pauseAfterFailure = 1'000'000'000;

bool isFinished(const struct stat &status) {
    return status.st_nlink == 0 || (status.st_mode & S_IWUSR) == 0;
}

bool isFull(const struct stat &status, std::size_t length, const LogFileLimits &limits) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    return size > 0 && (size > limits.bytes || length > limits.bytes - size);
}

} // namespace

LogFile &LogFile::of(const std::string &folder, const std::string &name) {
    static std::mutex &filesMutex = *new std::mutex;
    static auto &files = *new std::map<std::string, std::unique_ptr<LogFile>>;
    const std::lock_guard guard(filesMutex);
    auto &file = files[folder + "/" + name];
    if (!file)
        file = std::make_unique<LogFile>(folder, name);
    return *file;
}

LogFile::LogFile(const std::string &folder, const std::string &name) : archive(folder, name) {
}

void LogFile::write(std::string_view line, const LogFileLimits &limits, std::int64_t now) {
    std::string cut;
    if (line.size() > limits.bytes) {
        cut = line.substr(0, limits.bytes - 1);
        cut += '\n';
        line = cut;
    }
    const std::lock_guard guard(lock);
    if (makeReady(line.size(), limits, now))
        append(line);
}

bool LogFile::makeReady(std::size_t length, const LogFileLimits &limits, std::int64_t now) {
    if (file && length <= unlooked && now - lookedAt < longestUnlooked && now >= lookedAt)
        return true;
    if (!file && failedAt != 0 && now - failedAt < pauseAfterFailure && now >= failedAt)
        return false;
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0 || isFinished(status) || isFull(status, length, limits)) {
        if (!renew(length, limits)) {
            complain("opened");
            failedAt = now;
            return false;
        }
        if (fstat(file.get(), &status) != 0)
            return false;
    }
    failedAt = 0;
    lookedAt = now;
    // The nearer the limit, the sooner the next look: the room may be shared with other processes.
    const auto size = std::min(static_cast<std::uint64_t>(status.st_size), limits.bytes);
    unlooked = std::max<std::uint64_t>((limits.bytes - size) / 8, length);
    return true;
}

// Opens the file that is current now, finishing the one at hand if nobody has yet.
bool LogFile::renew(std::size_t length, const LogFileLimits &limits) {
    {
        const FolderLock folderLock(archive.folder());
        if (!folderLock)
            return false;
        struct stat status;
        if (lstat(archive.currentPath().c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            (isFinished(status) || isFull(status, length, limits)))
            // What can't be moved is written on.
            archive.takeCurrent(limits.finishedFiles);
        if (!open())
            return false;
    }
    if (limits.compresses && archive.hasPlainFiles(limits.finishedFiles))
        WorkQueue::global()->async(
            [finished = archive, kept = limits.finishedFiles] { finished.compress(kept); });
    return true;
}

bool LogFile::open() {
    file.reset();
    // Without waiting, should someone have put a pipe there.
    UniqueFd opened = openFile(archive.currentPath(), O_RDWR | O_APPEND | O_CREAT | O_NONBLOCK);
    struct stat status;
    if (!opened || fstat(opened.get(), &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid()) {
        errno = EPERM;
        return false;
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        fchmod(opened.get(), S_IRUSR | S_IWUSR);
    static_cast<void>(tryLockFile(opened.get(), FileLock::shared));
    // A process that was killed while it wrote may have left a piece of a line.
    char last = '\n';
    if (status.st_size > 0)
        static_cast<void>(!pread(opened.get(), &last, 1, status.st_size - 1));
    torn = last != '\n';
    file = std::move(opened);
    return true;
}

void LogFile::append(std::string_view line) {
    iovec pieces[2] = {{const_cast<char *>("\n"), 1}, {const_cast<char *>(line.data()), line.size()}};
    const std::size_t length = line.size() + (torn ? 1 : 0);
    const ssize_t written = retryInterrupted([&] {
        return torn ? ::writev(file.get(), pieces, 2) : ::write(file.get(), line.data(), line.size());
    });
    if (written < 0) {
        complain("written");
        return;
    }
    // The disk is full: the next line must not be glued to the beginning of this one.
    torn = static_cast<std::size_t>(written) < length;
    unlooked -= std::min<std::uint64_t>(unlooked, length);
}

void LogFile::complain(const char *what) {
    if (complained)
        return;
    complained = true;
    const char *reason = strerrordesc_np(errno);
    consoleLogText("ERROR: the log file " + archive.currentPath() + " can't be " + what + ": " +
                   (reason != nullptr ? reason : "unknown error"));
}

} // namespace wickerlane

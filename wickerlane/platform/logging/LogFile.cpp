#include "wickerlane/platform/logging/LogFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {
namespace {

// Another process may have finished the file, or filled it. Asking the kernel before each line would cost
// half as much as the line; this is soon enough, since a line that comes late is still read before the file
// is compressed.
constexpr std::int64_t checkInterval = 10'000'000;
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
    struct Files {
        Mutex mutex;
        std::map<std::string, std::unique_ptr<LogFile>> byPath WL_GUARDED_BY(mutex);
    };
    static NeverDestroyed<Files> made;
    Files &files = *made;
    const MutexLock lock(files.mutex);
    auto &file = files.byPath[folder + "/" + name];
    if (!file)
        file = std::make_unique<LogFile>(folder, name);
    return *file;
}

LogFile::LogFile(const std::string &folder, const std::string &name) : archive(folder, name) {
}

void LogFile::standForConsole() {
    const AdaptiveMutexLock lock(mutex);
    isConsole = true;
}

bool LogFile::write(std::string_view line, const LogFileLimits &limits, std::int64_t now) {
    std::string cut;
    if (line.size() > limits.bytes) {
        cut = line.substr(0, limits.bytes - 1);
        cut += '\n';
        line = cut;
    }
    const AdaptiveMutexLock lock(mutex);
    return makeReady(line.size(), limits, now) && append(line);
}

bool LogFile::makeReady(std::size_t length, const LogFileLimits &limits, std::int64_t now) {
    if (file && length <= uncheckedBytes && now - checkedAt < checkInterval && now >= checkedAt)
        return true;
    if (!file && failedAt != 0 && now - failedAt < pauseAfterFailure && now >= failedAt)
        return false;
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0 || isFinished(status) || isFull(status, length, limits)) {
        if (!reopen(length, limits)) {
            complain("opened");
            failedAt = now;
            return false;
        }
        if (fstat(file.get(), &status) != 0)
            return false;
    }
    failedAt = 0;
    checkedAt = now;
    // The nearer the limit, the sooner the next check: the room may be shared with other processes.
    const auto size = std::min(static_cast<std::uint64_t>(status.st_size), limits.bytes);
    uncheckedBytes = std::max<std::uint64_t>((limits.bytes - size) / 8, length);
    return true;
}

// Opens the current file; finishes the one that was open unless another process has.
bool LogFile::reopen(std::size_t length, const LogFileLimits &limits) {
    {
        const FolderLock folderLock(archive.folder());
        if (!folderLock)
            return false;
        struct stat status;
        if (lstat(archive.currentPath().c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            (isFinished(status) || isFull(status, length, limits)))
            // What can't be moved is written on.
            archive.finishCurrent(limits.finishedFiles);
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
    // Doesn't wait when there is a pipe in its place.
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
    if (isConsole) {
        dup2(file.get(), STDOUT_FILENO);
        dup2(file.get(), STDERR_FILENO);
    }
    return true;
}

bool LogFile::append(std::string_view line) {
    // What is left of a torn line is ended first.
    iovec pieces[2] = {{const_cast<char *>("\n"), 1}, {const_cast<char *>(line.data()), line.size()}};
    const bool wasTorn = torn;
    const int descriptor = file.get();
    const std::size_t length = line.size() + (wasTorn ? 1 : 0);
    const ssize_t written = retryInterrupted([&] {
        return wasTorn ? ::writev(descriptor, pieces, 2) : ::write(descriptor, line.data(), line.size());
    });
    if (written < 0) {
        complain("written");
        return false;
    }
    torn = static_cast<std::size_t>(written) < length; // the disk is full
    uncheckedBytes -= std::min<std::uint64_t>(uncheckedBytes, length);
    return true;
}

void LogFile::complain(const char *what) {
    if (complained || isConsole)
        return;
    complained = true;
    const char *reason = strerrordesc_np(errno);
    consoleLogText("ERROR: the log file " + archive.currentPath() + " can't be " + what + ": " +
                   (reason != nullptr ? reason : "unknown error"));
}

} // namespace wickerlane

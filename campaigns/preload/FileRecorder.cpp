// Takes the place of the system's file operations in a process that it is loaded into beforehand, and records
// in order what the process changes and syncs below the folder that WICKERLANE_RECORDED_BELOW names (with a
// slash at its end), and when it sends something over a socket. The records are appended to the file that
// WICKERLANE_RECORD names; campaigns/recording.py reads them. Without these it does nothing.
//
// An operation and its record are one step: no other is between them. A sync has two records, one before it
// and one after it, since it covers only what was done before it began.
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "campaigns/preload/Interposed.h"

using namespace campaigns;

namespace {

/// What is in front of each record's texts.
struct Header {
    std::uint64_t inode;
    std::uint64_t number; ///< An offset, a size, a mode, a process, or which sync it is.
    std::uint32_t firstSize;
    std::uint32_t secondSize;
    char kind[8];
};

class Recorder {
public:
    static Recorder &only() {
        static auto *recorder = new Recorder; // files are written until the process has ended
        return *recorder;
    }

    [[nodiscard]] bool isOn() const { return !below.empty() && !log.empty(); }
    /// The path of a file below the folder, relative to it.
    [[nodiscard]] std::optional<std::string> relative(std::string_view path) const {
        if (path.starts_with(below))
            return std::string(path.substr(below.size()));
        if (path == std::string_view(below).substr(0, below.size() - 1))
            return "";
        return std::nullopt;
    }

    void note(const char *kind, std::uint64_t inode, std::uint64_t number, std::string_view first = {},
              std::string_view second = {}) const {
        Header header{inode,
                      number,
                      static_cast<std::uint32_t>(first.size()),
                      static_cast<std::uint32_t>(second.size()),
                      {}};
        std::strncpy(header.kind, kind, sizeof header.kind - 1);
        std::string record(reinterpret_cast<const char *>(&header), sizeof header);
        record.append(first).append(second);
        // Closed again, so that the process has no descriptor that it did not open.
        const int file = REAL(open)(log.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
        if (file < 0 ||
            REAL(write)(file, record.data(), record.size()) != static_cast<ssize_t>(record.size()))
            std::abort(); // a record with gaps proves nothing
        close(file);
    }

    /// The whole contents of a file that others may have written.
    void noteContents(std::uint64_t inode, const std::string &path) const {
        const int file = REAL(open)(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW, 0);
        struct stat status {};
        if (file >= 0 && fstat(file, &status) == 0 && status.st_ino == inode && S_ISREG(status.st_mode)) {
            std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
            const ssize_t count = pread(file, bytes.data(), bytes.size(), 0);
            bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
            note("whole", inode, 0, bytes);
        }
        if (file >= 0)
            close(file);
    }

    std::mutex mutex;
    std::string below;
    /// Files that another process got for writing, by inode, and where they were then.
    std::map<std::uint64_t, std::string> shared;
    std::uint64_t syncs = 0;

private:
    Recorder() {
        const char *folder = std::getenv("WICKERLANE_RECORDED_BELOW"),
                   *file = std::getenv("WICKERLANE_RECORD");
        if (folder != nullptr && file != nullptr) {
            below = folder;
            log = file;
        }
    }
    std::string log;
};

/// Which file an operation is about; nothing unless it is below the folder.
std::optional<std::string> subjectOf(int folder, const char *path = nullptr) {
    const int before = errno;
    const Recorder &recorder = Recorder::only();
    std::optional<std::string> subject;
    char room[2 * PATH_MAX];
    if (recorder.isOn())
        subject = recorder.relative(pathOf(folder, path, room));
    errno = before;
    return subject;
}

std::string absolute(const std::string &subject) {
    return Recorder::only().below + subject;
}

std::uint64_t inodeAt(const std::string &path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

std::uint64_t inodeOf(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 ? status.st_ino : 0;
}

/// Does an operation and records it, with no other between, if it succeeds and is about anything below the
/// folder.
template <class Operation, class Note>
auto recorded(bool isBelow, Operation operation, Note note) {
    if (!isBelow)
        return operation();
    Recorder &recorder = Recorder::only();
    const std::lock_guard lock(recorder.mutex);
    const auto result = operation();
    const int error = errno;
    if (result >= 0)
        note(recorder, result);
    errno = error;
    return result;
}

template <class Operation>
int opened(int folder, const char *path, int flags, mode_t mode, Operation operation) {
    const auto subject =
        makes(flags) || (flags & O_TRUNC) != 0 ? subjectOf(folder, path) : std::optional<std::string>();
    const std::uint64_t before = subject ? inodeAt(absolute(*subject)) : 0;
    return recorded(subject.has_value(), operation, [&](const Recorder &recorder, int file) {
        const bool isNameless = (flags & O_TMPFILE) == O_TMPFILE;
        if (isNameless || before == 0)
            recorder.note("create", inodeOf(file), mode, isNameless ? std::string() : *subject);
        else if ((flags & O_TRUNC) != 0)
            recorder.note("size", before, 0);
    });
}

template <class Operation>
ssize_t written(int file, const iovec *parts, int count, std::optional<off64_t> offset, Operation operation) {
    const auto subject = subjectOf(file);
    return recorded(subject.has_value(), operation, [&](const Recorder &recorder, ssize_t size) {
        std::string bytes;
        for (int i = 0; i < count; ++i)
            bytes.append(static_cast<const char *>(parts[i].iov_base), parts[i].iov_len);
        bytes.resize(static_cast<std::size_t>(size));
        const off64_t at = offset ? *offset : lseek64(file, 0, SEEK_CUR) - size;
        recorder.note("write", inodeOf(file), static_cast<std::uint64_t>(at), bytes);
    });
}

template <class Operation>
ssize_t copied(int file, Operation operation) {
    const auto subject = subjectOf(file);
    return recorded(subject.has_value(), operation, [&](const Recorder &recorder, ssize_t) {
        recorder.noteContents(inodeOf(file), absolute(*subject));
    });
}

template <class Operation>
int resized(int file, Operation operation) {
    return recorded(subjectOf(file).has_value(), operation, [&](const Recorder &recorder, int) {
        struct stat status {};
        if (fstat(file, &status) == 0)
            recorder.note("size", status.st_ino, static_cast<std::uint64_t>(status.st_size));
    });
}

template <class Operation>
int named(const char *kind, int from, const char *old, int to, const char *name, Operation operation) {
    const auto target = subjectOf(to, name);
    // A file without a name has one in /proc.
    const auto source = old != nullptr ? subjectOf(from, old) : std::nullopt;
    return recorded(target.has_value() || source.has_value(), operation, [&](Recorder &recorder, int) {
        const std::uint64_t inode = target ? inodeAt(absolute(*target)) : 0;
        if (target && recorder.shared.contains(inode))
            recorder.noteContents(inode, absolute(*target));
        recorder.note(kind, inode, 0, source.value_or("?"), target.value_or("?"));
    });
}

template <class Operation>
int removed(int folder, const char *path, Operation operation) {
    const auto subject = subjectOf(folder, path);
    return recorded(subject.has_value(), operation,
                    [&](const Recorder &recorder, int) { recorder.note("remove", 0, 0, *subject); });
}

template <class Operation>
int folderMade(int folder, const char *path, mode_t mode, Operation operation) {
    const auto subject = subjectOf(folder, path);
    return recorded(subject.has_value(), operation, [&](const Recorder &recorder, int) {
        recorder.note("mkdir", inodeAt(absolute(*subject)), mode, *subject);
    });
}

template <class Operation>
int modeChanged(int folder, const char *path, mode_t mode, Operation operation) {
    const auto subject = subjectOf(folder, path);
    return recorded(subject.has_value(), operation, [&](const Recorder &recorder, int) {
        recorder.note("mode", inodeAt(absolute(*subject)), mode, *subject);
    });
}

/// A sync of one file or folder, or of all when there is no inode.
template <class Operation>
int synced(const char *kind, std::uint64_t inode, bool isBelow, Operation operation) {
    if (!isBelow)
        return operation();
    Recorder &recorder = Recorder::only();
    std::uint64_t number = 0;
    {
        const std::lock_guard lock(recorder.mutex);
        for (const auto &[each, path] : recorder.shared)
            if (inode == 0 || each == inode)
                recorder.noteContents(each, path);
        number = ++recorder.syncs;
        recorder.note("sync", inode, number);
    }
    const int result = operation();
    const int error = errno;
    if (result == 0) {
        const std::lock_guard lock(recorder.mutex);
        recorder.note(kind, inode, number);
    }
    errno = error;
    return result;
}

/// Files below the folder that go along for writing: what their receiver writes is not seen here.
void noteDescriptors(Recorder &recorder, const msghdr &message) {
    for (cmsghdr *each = CMSG_FIRSTHDR(&message); each != nullptr;
         each = CMSG_NXTHDR(const_cast<msghdr *>(&message), each)) {
        if (each->cmsg_level != SOL_SOCKET || each->cmsg_type != SCM_RIGHTS)
            continue;
        std::vector<int> files((each->cmsg_len - CMSG_LEN(0)) / sizeof(int));
        std::memcpy(files.data(), CMSG_DATA(each), files.size() * sizeof(int));
        for (const int file : files)
            if ((fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY)
                if (const auto subject = subjectOf(file))
                    recorder.shared[inodeOf(file)] = absolute(*subject);
    }
}

/// Recorded before it is sent: from then on its receiver may have it.
void noteSent(int socket, const msghdr *message = nullptr) {
    Recorder &recorder = Recorder::only();
    const int before = errno;
    ucred peer{};
    socklen_t size = sizeof peer;
    if (recorder.isOn() && getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) {
        const std::lock_guard lock(recorder.mutex);
        if (message != nullptr)
            noteDescriptors(recorder, *message);
        recorder.note("sent", 0, static_cast<std::uint64_t>(peer.pid));
    }
    errno = before;
}

void noteSentIfSocket(int file) {
    struct stat status {};
    const int before = errno;
    if (Recorder::only().isOn() && fstat(file, &status) == 0 && S_ISSOCK(status.st_mode))
        noteSent(file);
    errno = before;
}

iovec partOf(const void *bytes, size_t count) {
    return {const_cast<void *>(bytes), count};
}

} // namespace

extern "C" {

INTERPOSED_OPEN(open)
INTERPOSED_OPEN(open64)
INTERPOSED_OPENAT(openat)
INTERPOSED_OPENAT(openat64)

INTERPOSED ssize_t write(int file, const void *bytes, size_t count) {
    noteSentIfSocket(file);
    const iovec part = partOf(bytes, count);
    return written(file, &part, 1, {}, [&] { return REAL(write)(file, bytes, count); });
}
INTERPOSED ssize_t writev(int file, const iovec *parts, int count) {
    noteSentIfSocket(file);
    return written(file, parts, count, {}, [&] { return REAL(writev)(file, parts, count); });
}
INTERPOSED ssize_t pwrite(int file, const void *bytes, size_t count, off_t offset) {
    const iovec part = partOf(bytes, count);
    return written(file, &part, 1, offset, [&] { return REAL(pwrite)(file, bytes, count, offset); });
}
INTERPOSED ssize_t pwrite64(int file, const void *bytes, size_t count, off64_t offset) {
    const iovec part = partOf(bytes, count);
    return written(file, &part, 1, offset, [&] { return REAL(pwrite64)(file, bytes, count, offset); });
}
INTERPOSED ssize_t pwritev(int file, const iovec *parts, int count, off_t offset) {
    return written(file, parts, count, offset, [&] { return REAL(pwritev)(file, parts, count, offset); });
}
INTERPOSED ssize_t pwritev64(int file, const iovec *parts, int count, off64_t offset) {
    return written(file, parts, count, offset, [&] { return REAL(pwritev64)(file, parts, count, offset); });
}
INTERPOSED ssize_t copy_file_range(int source, off64_t *from, int target, off64_t *to, size_t count,
                                   unsigned flags) {
    return copied(target, [&] { return REAL(copy_file_range)(source, from, target, to, count, flags); });
}
INTERPOSED ssize_t sendfile(int target, int source, off_t *offset, size_t count) {
    noteSentIfSocket(target);
    return copied(target, [&] { return REAL(sendfile)(target, source, offset, count); });
}
INTERPOSED ssize_t sendfile64(int target, int source, off64_t *offset, size_t count) {
    noteSentIfSocket(target);
    return copied(target, [&] { return REAL(sendfile64)(target, source, offset, count); });
}
INTERPOSED ssize_t splice(int source, off64_t *from, int target, off64_t *to, size_t count, unsigned flags) {
    noteSentIfSocket(target);
    return copied(target, [&] { return REAL(splice)(source, from, target, to, count, flags); });
}

INTERPOSED ssize_t send(int socket, const void *bytes, size_t count, int flags) {
    noteSent(socket);
    return REAL(send)(socket, bytes, count, flags);
}
INTERPOSED ssize_t sendmsg(int socket, const msghdr *message, int flags) {
    noteSent(socket, message);
    return REAL(sendmsg)(socket, message, flags);
}

INTERPOSED int fsync(int file) {
    return synced("fsync", inodeOf(file), subjectOf(file).has_value(), [&] { return REAL(fsync)(file); });
}
INTERPOSED int fdatasync(int file) {
    return synced("fdata", inodeOf(file), subjectOf(file).has_value(), [&] { return REAL(fdatasync)(file); });
}
INTERPOSED int syncfs(int file) noexcept {
    return synced("syncfs", 0, subjectOf(file).has_value(), [&] { return REAL(syncfs)(file); });
}

INTERPOSED int ftruncate(int file, off_t length) noexcept {
    return resized(file, [&] { return REAL(ftruncate)(file, length); });
}
INTERPOSED int ftruncate64(int file, off64_t length) noexcept {
    return resized(file, [&] { return REAL(ftruncate64)(file, length); });
}
INTERPOSED int fallocate(int file, int mode, off_t offset, off_t length) {
    return resized(file, [&] { return REAL(fallocate)(file, mode, offset, length); });
}
INTERPOSED int fallocate64(int file, int mode, off64_t offset, off64_t length) {
    return resized(file, [&] { return REAL(fallocate64)(file, mode, offset, length); });
}
INTERPOSED int fchmod(int file, mode_t mode) noexcept {
    return modeChanged(file, nullptr, mode, [&] { return REAL(fchmod)(file, mode); });
}
INTERPOSED int chmod(const char *path, mode_t mode) noexcept {
    return modeChanged(AT_FDCWD, path, mode, [&] { return REAL(chmod)(path, mode); });
}

INTERPOSED int rename(const char *from, const char *to) noexcept {
    return named("rename", AT_FDCWD, from, AT_FDCWD, to, [&] { return REAL(rename)(from, to); });
}
INTERPOSED int renameat(int one, const char *from, int other, const char *to) noexcept {
    return named("rename", one, from, other, to, [&] { return REAL(renameat)(one, from, other, to); });
}
INTERPOSED int renameat2(int one, const char *from, int other, const char *to, unsigned flags) noexcept {
    const char *kind = (flags & RENAME_EXCHANGE) != 0 ? "swap" : "rename";
    return named(kind, one, from, other, to, [&] { return REAL(renameat2)(one, from, other, to, flags); });
}
INTERPOSED int link(const char *from, const char *to) noexcept {
    return named("link", AT_FDCWD, nullptr, AT_FDCWD, to, [&] { return REAL(link)(from, to); });
}
INTERPOSED int linkat(int one, const char *from, int other, const char *to, int flags) noexcept {
    return named("link", one, nullptr, other, to, [&] { return REAL(linkat)(one, from, other, to, flags); });
}
INTERPOSED int mkdir(const char *path, mode_t mode) noexcept {
    return folderMade(AT_FDCWD, path, mode, [&] { return REAL(mkdir)(path, mode); });
}
INTERPOSED int mkdirat(int folder, const char *path, mode_t mode) noexcept {
    return folderMade(folder, path, mode, [&] { return REAL(mkdirat)(folder, path, mode); });
}
INTERPOSED int unlink(const char *path) noexcept {
    return removed(AT_FDCWD, path, [&] { return REAL(unlink)(path); });
}
INTERPOSED int unlinkat(int folder, const char *path, int flags) noexcept {
    return removed(folder, path, [&] { return REAL(unlinkat)(folder, path, flags); });
}
INTERPOSED int rmdir(const char *path) noexcept {
    return removed(AT_FDCWD, path, [&] { return REAL(rmdir)(path); });
}
INTERPOSED int remove(const char *path) noexcept {
    return removed(AT_FDCWD, path, [&] { return REAL(remove)(path); });
}

} // extern "C"

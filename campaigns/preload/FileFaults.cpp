// Takes the place of the system's file operations in a process that it is loaded into beforehand, and makes
// one of them fail. It acts on files below the folder that WICKERLANE_FAULTS_BELOW names; the file that
// WICKERLANE_FAULTS_CONTROL names says which operation fails, and how. Without these it does nothing.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "campaigns/preload/Interposed.h"

using namespace campaigns;

namespace {

/// What is in the control file; the campaign writes and reads it while the process runs.
struct Control {
    std::atomic<std::int64_t> failing;   ///< Which operation fails, from 1; 0 for none.
    std::atomic<std::int64_t> isForGood; ///< All after it fail as well.
    std::atomic<std::int64_t> error;     ///< The errno that they fail with.
    std::atomic<std::int64_t> count;     ///< Operations until now.
    std::atomic<std::int64_t> failed;    ///< Of these.
    char first[256];                     ///< The first that failed, for people.
};

struct Faults {
    Control *control = nullptr;
    const char *below = nullptr;
};

Faults loadFaults() {
    Faults faults{.below = std::getenv("WICKERLANE_FAULTS_BELOW")};
    const char *path = std::getenv("WICKERLANE_FAULTS_CONTROL");
    if (path == nullptr || faults.below == nullptr)
        return faults;
    const int file = open(path, O_RDWR | O_CLOEXEC);
    if (file < 0)
        return faults;
    void *mapped = mmap(nullptr, sizeof(Control), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (mapped != MAP_FAILED)
        faults.control = static_cast<Control *>(mapped);
    close(file);
    return faults;
}

/// Opening the control file comes here as well, and must not wait for it.
const Faults *faultsIfLoaded() {
    static thread_local bool isLoading = false;
    if (isLoading)
        return nullptr;
    isLoading = true;
    static const Faults faults = loadFaults();
    isLoading = false;
    return faults.control != nullptr ? &faults : nullptr;
}

/// Counts an operation; whether it fails, with errno set.
bool fails(const char *what, int folder, const char *path = nullptr, bool takesRoom = true) {
    const int before = errno;
    const Faults *faults = faultsIfLoaded();
    char room[2 * PATH_MAX];
    const std::string_view subject = faults != nullptr ? pathOf(folder, path, room) : std::string_view();
    errno = before;
    if (faults == nullptr || !subject.starts_with(faults->below))
        return false;
    Control &control = *faults->control;
    if (!takesRoom && control.error == ENOSPC)
        return false;
    const std::int64_t number = ++control.count, failing = control.failing;
    if (failing == 0 || number < failing || (number > failing && control.isForGood == 0))
        return false;
    if (control.failed++ == 0)
        std::snprintf(control.first, sizeof control.first, "%s %.*s", what,
                      static_cast<int>(subject.size() - std::strlen(faults->below)),
                      subject.data() + std::strlen(faults->below));
    errno = static_cast<int>(control.error);
    return true;
}

template <class Operation>
int opened(int folder, const char *path, int flags, mode_t /*mode*/, Operation operation) {
    return fails("open", folder, path, makes(flags)) ? -1 : operation();
}

} // namespace

extern "C" {

INTERPOSED_OPEN(open)
INTERPOSED_OPEN(open64)
INTERPOSED_OPENAT(openat)
INTERPOSED_OPENAT(openat64)

INTERPOSED ssize_t write(int file, const void *bytes, size_t count) {
    return fails("write", file) ? -1 : REAL(write)(file, bytes, count);
}
INTERPOSED ssize_t writev(int file, const iovec *parts, int count) {
    return fails("write", file) ? -1 : REAL(writev)(file, parts, count);
}
INTERPOSED ssize_t pwrite(int file, const void *bytes, size_t count, off_t offset) {
    return fails("write", file) ? -1 : REAL(pwrite)(file, bytes, count, offset);
}
INTERPOSED ssize_t pwrite64(int file, const void *bytes, size_t count, off64_t offset) {
    return fails("write", file) ? -1 : REAL(pwrite64)(file, bytes, count, offset);
}
INTERPOSED ssize_t copy_file_range(int source, off64_t *from, int target, off64_t *to, size_t count,
                                   unsigned flags) {
    return fails("copy", target) ? -1 : REAL(copy_file_range)(source, from, target, to, count, flags);
}
INTERPOSED ssize_t sendfile(int target, int source, off_t *offset, size_t count) {
    return fails("send", target) ? -1 : REAL(sendfile)(target, source, offset, count);
}
INTERPOSED ssize_t sendfile64(int target, int source, off64_t *offset, size_t count) {
    return fails("send", target) ? -1 : REAL(sendfile64)(target, source, offset, count);
}
INTERPOSED int fsync(int file) {
    return fails("sync", file) ? -1 : REAL(fsync)(file);
}
INTERPOSED int fdatasync(int file) {
    return fails("sync", file) ? -1 : REAL(fdatasync)(file);
}
INTERPOSED int ftruncate(int file, off_t length) noexcept {
    return fails("resize", file) ? -1 : REAL(ftruncate)(file, length);
}
INTERPOSED int ftruncate64(int file, off64_t length) noexcept {
    return fails("resize", file) ? -1 : REAL(ftruncate64)(file, length);
}
INTERPOSED int fallocate(int file, int mode, off_t offset, off_t length) {
    return fails("allocate", file) ? -1 : REAL(fallocate)(file, mode, offset, length);
}
INTERPOSED int fallocate64(int file, int mode, off64_t offset, off64_t length) {
    return fails("allocate", file) ? -1 : REAL(fallocate64)(file, mode, offset, length);
}
INTERPOSED int posix_fallocate(int file, off_t offset, off_t length) {
    return fails("allocate", file) ? errno : REAL(posix_fallocate)(file, offset, length);
}
INTERPOSED int posix_fallocate64(int file, off64_t offset, off64_t length) {
    return fails("allocate", file) ? errno : REAL(posix_fallocate64)(file, offset, length);
}
INTERPOSED int rename(const char *from, const char *to) noexcept {
    return fails("rename", AT_FDCWD, to) ? -1 : REAL(rename)(from, to);
}
INTERPOSED int renameat(int one, const char *from, int other, const char *to) noexcept {
    return fails("rename", other, to) ? -1 : REAL(renameat)(one, from, other, to);
}
INTERPOSED int renameat2(int one, const char *from, int other, const char *to, unsigned flags) noexcept {
    return fails("rename", other, to) ? -1 : REAL(renameat2)(one, from, other, to, flags);
}
INTERPOSED int link(const char *from, const char *to) noexcept {
    return fails("link", AT_FDCWD, to) ? -1 : REAL(link)(from, to);
}
INTERPOSED int linkat(int one, const char *from, int other, const char *to, int flags) noexcept {
    return fails("link", other, to) ? -1 : REAL(linkat)(one, from, other, to, flags);
}
INTERPOSED int mkdir(const char *path, mode_t mode) noexcept {
    return fails("mkdir", AT_FDCWD, path) ? -1 : REAL(mkdir)(path, mode);
}
INTERPOSED int mkdirat(int folder, const char *path, mode_t mode) noexcept {
    return fails("mkdir", folder, path) ? -1 : REAL(mkdirat)(folder, path, mode);
}
// Removing a file never needs room on the file systems that the library is on.
INTERPOSED int unlink(const char *path) noexcept {
    return fails("unlink", AT_FDCWD, path, false) ? -1 : REAL(unlink)(path);
}
INTERPOSED int unlinkat(int folder, const char *path, int flags) noexcept {
    return fails("unlink", folder, path, false) ? -1 : REAL(unlinkat)(folder, path, flags);
}
INTERPOSED int rmdir(const char *path) noexcept {
    return fails("unlink", AT_FDCWD, path, false) ? -1 : REAL(rmdir)(path);
}
INTERPOSED int remove(const char *path) noexcept {
    return fails("unlink", AT_FDCWD, path, false) ? -1 : REAL(remove)(path);
}

} // extern "C"

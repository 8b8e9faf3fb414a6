#include "wickerlane/platform/file/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"

namespace wickerlane {
namespace {

bool lock(int descriptor, FileLock kind, int flags) {
    const int operation = (kind == FileLock::shared ? LOCK_SH : LOCK_EX) | flags;
    return retryInterrupted([&] { return flock(descriptor, operation); }) == 0;
}

} // namespace

bool lockFile(int descriptor, FileLock kind) {
    return lock(descriptor, kind, 0);
}

bool tryLockFile(int descriptor, FileLock kind) {
    return lock(descriptor, kind, LOCK_NB);
}

UniqueFd openLocked(const std::string &path) {
    UniqueFd file = openFile(path, O_RDWR | O_CREAT);
    if (file && !lockFile(file.get(), FileLock::exclusive))
        file.reset();
    return file;
}

} // namespace wickerlane

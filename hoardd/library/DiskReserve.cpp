#include "hoardd/library/DiskReserve.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::hoardd {

void keepDiskReserve(const store::LibraryPaths &paths) {
    const std::string path = paths.reserve();
    struct stat present {};
    if (::lstat(path.c_str(), &present) == 0 &&
        static_cast<std::uint64_t>(present.st_size) == diskReserveBytes)
        return;
    struct statvfs disk {};
    if (::statvfs(paths.folder().c_str(), &disk) != 0 || disk.f_bavail * disk.f_frsize < 4 * diskReserveBytes)
        return;
    const UniqueFd file = openFile(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!file)
        return;
    // Where room can't be reserved, the file would be without any.
    if (::fallocate(file.get(), 0, 0, static_cast<off_t>(diskReserveBytes)) != 0)
        ::unlink(path.c_str());
}

bool releaseDiskReserve(const store::LibraryPaths &paths) {
    if (::unlink(paths.reserve().c_str()) != 0)
        return false;
    JX_LOG(JXLogLevelNotice, JXPhotosStateLog,
           "the disk is full: its reserve of %llu bytes is used for deleting",
           static_cast<unsigned long long>(diskReserveBytes));
    return true;
}

} // namespace wickerlane::hoardd
